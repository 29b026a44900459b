// What the camera's log says about a call, and in which order.

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "camera_process.h"
#include "own_address.h"
#include "sdk_limits.h"
#include "turn_server.h"
#include "viewer_process.h"

namespace zelrtc::test {
namespace {

using namespace std::chrono_literals;

using Patterns = std::vector<std::string>;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end = 0; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        lines.push_back(text.substr(start, end - start));
    }
    return lines;
}

/** The log after a whole call, as lines. */
std::vector<std::string> logOfOneCall(const Patterns& cameraArguments, const Patterns& viewerArguments) {
    CameraProcess camera(cameraArguments);
    const auto outcome = view(camera.url(), viewerArguments);
    EXPECT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_TRUE(camera.logsEventually("released", sdkLimit("release")));
    return linesOf(camera.log());
}

/** Expects each pattern on a line after the previous pattern's. */
void expectInOrder(const std::vector<std::string>& lines, const Patterns& patterns) {
    auto from = lines.begin();
    for (const std::string& pattern : patterns) {
        const std::regex wanted(pattern);
        const auto found =
            std::find_if(from, lines.end(), [&](const std::string& line) { return std::regex_search(line, wanted); });
        ASSERT_NE(found, lines.end()) << "no line after the one before matches: " << pattern;
        from = found + 1;
    }
}

size_t count(const std::vector<std::string>& lines, const std::string& pattern) {
    const std::regex wanted(pattern);
    return static_cast<size_t>(std::count_if(lines.begin(), lines.end(),
                                             [&](const std::string& line) { return std::regex_search(line, wanted); }));
}

const Patterns kNegotiation{R"(initializePeerConnection\(\): createPeerConnection took [0-9.]+ms, return 0x0$)",
                            R"(handleOffer\(\): session [0-9]+, handleOffer with: \{.*"sdp")",
                            R"(handleOffer\(\): session [0-9]+, handleOffer done$)",
                            R"(handleOffer\(\): time taken to create answer [0-9.]+ms$)",
                            R"(handleOffer\(\): session [0-9]+, create answer done$)"};

const Patterns kConnection{R"(session [0-9]+, new connection state 3$)",
                           "log session [0-9]+ connection info: ",
                           "Local Candidate IP Address: [0-9a-f.:]+$",
                           "Local Candidate type: ",
                           "Local Candidate port: [0-9]+$",
                           "Local Candidate priority: ",
                           "Local Candidate transport protocol: udp$",
                           "Local Candidate relay protocol: ",
                           "Local Candidate Ice server source: ",
                           "Remote Candidate IP Address: [0-9a-f.:]+$",
                           "Remote Candidate type: ",
                           "Remote Candidate port: [0-9]+$",
                           "Remote Candidate priority: ",
                           "Remote Candidate transport protocol: udp$"};

const Patterns kEnding{R"(teminate\(\): session [0-9]+ teminate\.$)",
                       R"(~ZelRtcSession\(\): session: [0-9]+, releasing$)",
                       R"(~ZelRtcSession\(\): session: [0-9]+, released$)"};

TEST(CallLog, TellsATrickleCallInOrder) {
    const auto lines = logOfOneCall({}, {"--seconds", "1"});
    expectInOrder(lines, {R"(ZelRtcSession\(\): session [0-9]+, trickle 1, relayonly 0$)"});
    expectInOrder(lines, kNegotiation);
    expectInOrder(lines, {"handleOffer done", R"(session [0-9]+, got new candidate: \{"candidate":)", "teminate"});
    expectInOrder(lines, {"handleOffer done", "ice candidate gathering finished", "teminate"});
    expectInOrder(lines, kConnection);
    expectInOrder(lines, kEnding);
}

TEST(CallLog, TellsACallWithACompleteAnswerInOrder) {
    const auto lines = logOfOneCall({}, {"--seconds", "1", "--no-trickle"});
    expectInOrder(lines, {R"(ZelRtcSession\(\): session [0-9]+, trickle 0, relayonly 0$)"});
    expectInOrder(lines, kNegotiation);
    EXPECT_EQ(count(lines, "got new candidate"), 0U);
    expectInOrder(lines, {"handleOffer done", "ice candidate gathering finished", "new connection state 3"});
    expectInOrder(lines, kConnection);
    expectInOrder(lines, kEnding);
}

TEST(CallLog, DescribesTheConnectionInSevenLocalAndFiveRemoteLines) {
    const auto lines = logOfOneCall({}, {"--seconds", "1"});
    EXPECT_EQ(count(lines, "Local Candidate"), 7U);
    EXPECT_EQ(count(lines, "Remote Candidate"), 5U);
}

TEST(CallLog, WaitsForAKeyFrameOnlyBeforeTheFirstOne) {
    const auto lines = logOfOneCall({}, {"--seconds", "3"});
    const auto isWaiting = [](const std::string& line) { return line.find("waiting keyframe") != std::string::npos; };
    const auto last = std::find_if(lines.rbegin(), lines.rend(), isWaiting).base();
    // Each frame seen while the gate is shut has a line; the last is for the key frame that opens it.
    const auto opener = std::find_if(last, lines.end(), [](const std::string& line) {
        return line.find("input video frame, flag 16") != std::string::npos;
    });
    ASSERT_NE(opener, lines.end());
    EXPECT_EQ(count(std::vector<std::string>(opener + 1, lines.end()), "input video frame"), 0U);
}

TEST(CallLog, NamesItsIceServersAtTheBeginningAndAtTheEnd) {
    const TurnServer turn;
    const auto lines = logOfOneCall({"--ice-server", turn.description("udp")}, {"--seconds", "1"});
    const std::string url = std::regex_replace(turn.url("udp"), std::regex("[?.]"), "\\$&");
    expectInOrder(lines, {"ZelRtcSession\\(\\): session", "add iceserver\\. url " + url + "$", kNegotiation[0]});
    expectInOrder(lines, {"releasing$", "gatherIceServerStats|ICE Server Stats", "released$"});
}

TEST(CallLog, SaysThatACallIsRelayOnly) {
    const TurnServer turn;
    const auto lines = logOfOneCall({"--ice-server", turn.description("udp"), "--relay-only"},
                                    {"--seconds", "1", "--local-address", ownAddress()});
    expectInOrder(lines, {"relayonly 1$", "set relay only$", "add iceserver", "Local Candidate type: relay$"});
}

}  // namespace
}  // namespace zelrtc::test
