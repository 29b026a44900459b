// Calls of a camera with as many ICE servers as the SDK takes, and with more.

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "camera_process.h"
#include "own_address.h"
#include "sdk_limits.h"
#include "silent_server.h"
#include "turn_server.h"
#include "viewer_process.h"

namespace zelrtc::test {
namespace {

using namespace std::chrono_literals;

using Arguments = std::vector<std::string>;

constexpr size_t kMostServers = 21;

class ManyIceServers : public ::testing::Test {
protected:
    // All silent, except the good one.
    Arguments servers(size_t count, size_t goodOne) const {
        Arguments arguments{"--relay-only"};
        for (size_t i = 0; i < count; i++) {
            arguments.insert(arguments.end(),
                             {"--ice-server", i == goodOne ? turn_.description("udp") : silent_.description()});
        }
        return arguments;
    }

    ViewerProcess::Outcome call(const CameraProcess& camera) const {
        return view(camera.url(), {"--seconds", "1", "--local-address", ownAddress()});
    }

    TurnServer turn_;
    SilentServer silent_;
};

std::ptrdiff_t count(const std::string& text, const std::string& pattern) {
    const std::regex wanted(pattern);
    return std::distance(std::sregex_iterator(text.begin(), text.end(), wanted), std::sregex_iterator());
}

TEST_F(ManyIceServers, TwentyOneAreAllUsed) {
    CameraProcess camera(servers(kMostServers, kMostServers - 1));
    const auto outcome = call(camera);
    ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_EQ(outcome.call().at("transport").at("remote"), "relay");
    EXPECT_EQ(count(camera.log(), R"(session \d+, add iceserver\. url turn:)"), 21);
    EXPECT_EQ(count(camera.log(), "too many iceservers"), 0);
}

TEST_F(ManyIceServers, OfTwentyTwoTheLastIsLeftOutWithOneLine) {
    CameraProcess camera(servers(kMostServers + 1, 0));
    const auto outcome = call(camera);
    ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_EQ(outcome.call().at("transport").at("remote"), "relay");
    EXPECT_EQ(count(camera.log(), R"(session \d+, add iceserver\. url turn:)"), 21);
    EXPECT_EQ(count(camera.log(), R"(initializePeerConnection\(\): session \d+, too many iceservers, 1 left out\n)"),
              1);
    EXPECT_EQ(count(camera.log(), "too many iceservers"), 1);
}

TEST_F(ManyIceServers, TheTwentySecondIsNotUsed) {
    CameraProcess camera(servers(kMostServers + 1, kMostServers));
    const auto outcome = call(camera);
    EXPECT_NE(outcome.status, 0) << "the only server that answers was left out";
    EXPECT_TRUE(camera.logsEventually("new connection state 5", sdkLimit("unreachable"))) << "not failed";
}

}  // namespace
}  // namespace zelrtc::test
