// Calls that may only go through a TURN server.

#include <gtest/gtest.h>

#include "camera_process.h"
#include "turn_server.h"
#include "viewer_process.h"

namespace calltest {
namespace {

using namespace std::chrono_literals;

using Arguments = std::vector<std::string>;

struct Case {
    const char* name;
    const char* transport;
    const char* style;
};

class RelayOnly : public ::testing::TestWithParam<Case> {
protected:
    // The relay is on loopback, and so is then whoever shall reach it.
    Arguments viewerArguments(Arguments arguments) const {
        arguments.insert(arguments.end(), {"--local-address", "127.0.0.1"});
        if (*GetParam().style != '\0') {
            arguments.emplace_back(GetParam().style);
        }
        return arguments;
    }

    TurnServer turn_;
};

INSTANTIATE_TEST_SUITE_P(Over, RelayOnly,
                         ::testing::Values(Case{"UdpTrickle", "udp", ""},
                                           Case{"UdpCompleteAnswer", "udp", "--no-trickle"},
                                           Case{"TcpTrickle", "tcp", ""},
                                           Case{"TcpCompleteAnswer", "tcp", "--no-trickle"}),
                         [](const auto& test) { return test.param.name; });

TEST_P(RelayOnly, CameraBringsPictureAndSound) {
    CameraProcess camera({"--ice-server", turn_.description(GetParam().transport), "--relay-only"});
    const auto outcome = view(camera.url(), viewerArguments({"--seconds", "3"}));
    ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_EQ(outcome.call().at("transport").at("remote"), "relay");
    EXPECT_GE(outcome.call().at("video").at("decoded"), 60);
    EXPECT_EQ(outcome.call().at("video").at("unreadable"), 0);
    EXPECT_NE(camera.log().find("Local Candidate type: relay"), std::string::npos);
    EXPECT_EQ(camera.log().find("Local Candidate type: host"), std::string::npos);
}

TEST_P(RelayOnly, BothEndsBringPictureAndSound) {
    const std::string server = turn_.description(GetParam().transport);
    CameraProcess camera({"--ice-server", server, "--relay-only"});
    const auto outcome =
        view(camera.url(), viewerArguments({"--seconds", "2", "--relay-only", "--ice-server", server}));
    ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_EQ(outcome.call().at("transport").at("local"), "relay");
    EXPECT_EQ(outcome.call().at("transport").at("remote"), "relay");
}

TEST_P(RelayOnly, WrongPasswordConnectsNothingAndEndsClearly) {
    CameraProcess camera({"--ice-server", turn_.wrongDescription(GetParam().transport), "--relay-only"});
    const auto outcome = view(camera.url(), viewerArguments({"--seconds", "1", "--connect-timeout", "45"}));
    EXPECT_NE(outcome.status, 0);
    EXPECT_EQ(outcome.call().at("ms").at("connected"), nullptr);
    EXPECT_EQ(outcome.call().at("video").at("frames"), 0);
    const bool hasReason = outcome.call().at("ended").is_string() || outcome.call().at("failure").is_string();
    EXPECT_TRUE(hasReason) << outcome.report.dump(2);
    EXPECT_TRUE(camera.hasNoCalls(10s));
    EXPECT_TRUE(camera.logsEventually("released", 1s));
}

}  // namespace
}  // namespace calltest
