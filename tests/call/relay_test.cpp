// Calls that must go through a TURN server.

#include <gtest/gtest.h>

#include <fstream>
#include <ostream>
#include <regex>

#include "camera_process.h"
#include "own_address.h"
#include "scratch_folder.h"
#include "sdk_limits.h"
#include "silent_server.h"
#include "turn_server.h"
#include "viewer_process.h"

namespace zelrtc::test {
namespace {

using namespace std::chrono_literals;

using Arguments = std::vector<std::string>;

struct Case {
    const char* name;
    const char* transport;
    const char* style;

    friend std::ostream& operator<<(std::ostream& out, const Case& one) {
        return out << one.name;
    }
};

class RelayOnly : public ::testing::TestWithParam<Case> {
protected:
    // One candidate from the viewer is enough.
    Arguments viewerArguments(Arguments arguments) const {
        arguments.insert(arguments.end(), {"--local-address", ownAddress()});
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
    ViewerProcess viewer(camera.url(), viewerArguments({"--keep"}));
    EXPECT_TRUE(viewer.getsPictures(60));
    const auto outcome = viewer.hangUp();
    ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_EQ(outcome.call().at("transport").at("remote"), "relay");
    EXPECT_TRUE(couldReadItsPictures(outcome));
    EXPECT_NE(camera.log().find("Local Candidate type: relay"), std::string::npos);
    EXPECT_EQ(camera.log().find("Local Candidate type: host"), std::string::npos);
}

TEST_P(RelayOnly, BothEndsBringPictureAndSound) {
    const std::string server = turn_.description(GetParam().transport);
    const ScratchFolder folder;
    std::ofstream(folder.file("servers")) << server << "\n";
    CameraProcess camera({"--ice-server-file", folder.file("servers"), "--relay-only"});
    const auto outcome =
        view(camera.url(), viewerArguments({"--seconds", "2", "--relay-only", "--ice-server", server}));
    ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_EQ(outcome.call().at("transport").at("local"), "relay");
    EXPECT_EQ(outcome.call().at("transport").at("remote"), "relay");
}

TEST_P(RelayOnly, WrongPasswordEndsTheCallBeforeTheViewerGivesUp) {
    CameraProcess camera({"--ice-server", turn_.wrongDescription(GetParam().transport), "--relay-only"});
    const auto start = std::chrono::steady_clock::now();
    const auto outcome = view(camera.url(), viewerArguments({"--seconds", "1", "--connect-timeout", "45"}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, sdkLimit("unreachable"))
        << "it has waited for a connection that cannot come";
    EXPECT_NE(outcome.status, 0);
    EXPECT_EQ(outcome.call().at("ms").at("connected"), nullptr);
    EXPECT_EQ(outcome.call().at("video").at("frames"), 0);
    // Depending on what reaches the viewer first: the end, or that one of its candidates came too late.
    const bool hasReason = outcome.call().at("ended").is_string() || outcome.call().at("failure").is_string();
    EXPECT_TRUE(hasReason) << outcome.report.dump(2);
    EXPECT_TRUE(camera.logsEventually("new connection state 5", sdkLimit("unreachable"))) << "not failed";
    EXPECT_TRUE(camera.hasNoCalls(sdkLimit("release")));
    EXPECT_TRUE(camera.logsEventually("released", sdkLimit("release")));
    EXPECT_EQ(camera.log().find("got new candidate"), std::string::npos);
}

TEST_P(RelayOnly, ADeadServerBesideAGoodOneDoesNoHarm) {
    const SilentServer dead;
    CameraProcess camera(
        {"--ice-server", dead.description(), "--ice-server", turn_.description(GetParam().transport), "--relay-only"});
    const auto outcome = view(camera.url(), viewerArguments({"--seconds", "1"}));
    ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_EQ(outcome.call().at("transport").at("remote"), "relay");
    EXPECT_GT(dead.requests(), 0) << "it was never asked";
}

TEST_P(RelayOnly, TheLogNamesThePairAndTheServer) {
    CameraProcess camera({"--ice-server", turn_.description(GetParam().transport), "--relay-only"});
    const auto outcome = view(camera.url(), viewerArguments({"--seconds", "1"}));
    ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);
    const std::string log = camera.log();
    for (const char* const pattern :
         {R"(Local Candidate IP Address: [0-9.]+\n)", R"(Local Candidate type: relay\n)",
          R"(Local Candidate port: [1-9][0-9]*\n)", R"(Remote Candidate IP Address: [0-9.]+\n)",
          R"(Remote Candidate type: (host|prflx)\n)", R"(Remote Candidate port: [1-9][0-9]*\n)"}) {
        EXPECT_TRUE(std::regex_search(log, std::regex(pattern))) << pattern << '\n' << log;
    }
    const std::string transport = GetParam().transport;
    EXPECT_NE(log.find("Local Candidate relay protocol: " + transport + "\n"), std::string::npos) << log;
    EXPECT_NE(log.find("Local Candidate Ice server source: " + ownAddress() + "\n"), std::string::npos) << log;
}

// The SDK gathers up to 10 seconds beside such a server; the camera must not give up before. The offer holds the
// viewer's candidates: without any, the SDK itself gives up at about the same time.
class DeadServer : public ::testing::TestWithParam<bool> {};

INSTANTIATE_TEST_SUITE_P(AnswerBeside, DeadServer, ::testing::Bool(),
                         [](const auto& isWhep) { return isWhep.param ? "Whep" : "Page"; });

TEST_P(DeadServer, HoldsACompleteAnswerUpButDoesNotPreventIt) {
    const SilentServer dead;
    CameraProcess camera({"--ice-server", dead.description()});
    Arguments arguments{"--seconds", "1", "--connect-timeout", "30", "--no-trickle"};
    if (GetParam()) {
        arguments.emplace_back("--whep");
    }
    const auto outcome = view(camera.url(), arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_GT(dead.requests(), 0) << "it was never asked";
}

}  // namespace
}  // namespace zelrtc::test
