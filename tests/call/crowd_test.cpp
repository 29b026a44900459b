// Calls that never connect keep nobody out, and hold up no end.

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "camera_process.h"
#include "sdk_limits.h"
#include "viewer_process.h"
#include "waiting.h"

namespace zelrtc::test {
namespace {

using nlohmann::json;
using namespace std::chrono_literals;

/** An offer whose viewer will never be heard of. */
std::string deadOffer() {
    const std::string transport =
        "c=IN IP4 "
        "0.0.0.0\r\na=rtcp-mux\r\na=ice-ufrag:abcd\r\na=ice-pwd:abcdefghijklmnopqrstuvwx\r\na=setup:actpass\r\n"
        "a=fingerprint:sha-256 00:01:02:03:04:05:06:07:08:09:0A:0B:0C:0D:0E:0F:"
        "10:11:12:13:14:15:16:17:18:19:1A:1B:1C:1D:1E:1F\r\n";
    return json{{"type", "offer"},
                {"sdp",
                 "v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=-\r\nt=0 0\r\na=group:BUNDLE 0\r\n"
                 "m=video 9 UDP/TLS/RTP/SAVPF 96\r\n" +
                     transport +
                     "a=mid:0\r\na=recvonly\r\na=rtpmap:96 H264/90000\r\n"
                     "a=fmtp:96 packetization-mode=1;profile-level-id=42e01f\r\n"}}
        .dump();
}

TEST(CrowdOfCalls, KeepsNobodyOutAndEndsNoConnectedCall) {
    CameraProcess camera({"--max-calls", "4"});
    ViewerProcess watcher(camera.url(), {"--keep"});
    ASSERT_TRUE(camera.hasConnectedCalls(1));
    for (int call = 0; call < 12; ++call) {
        const auto placed = camera.post("/calls", deadOffer());
        ASSERT_TRUE(placed);
        EXPECT_TRUE(placed->status == 201 || placed->status == 503) << placed->status << placed->body;
    }
    // Those that gave way are released by then.
    ASSERT_TRUE(eventually([&] { return camera.get("/health").at("calls") <= 4; }, 10s));
    ViewerProcess newcomer(camera.url(), {"--keep", "--no-decode"});
    EXPECT_TRUE(eventually(
        [&] {
            const json calls = camera.get("/calls");
            return std::count_if(calls.begin(), calls.end(),
                                 [](const json& call) { return call.at("state") == "connected"; }) == 2;
        },
        20s));
    EXPECT_NE(camera.log().find("gives way to call"), std::string::npos);

    camera.signal(SIGTERM);
    EXPECT_TRUE(camera.exits(sdkLimit("exit")));
}

TEST(CrowdOfCalls, IsToldToWait) {
    const CameraProcess camera;
    std::string pause;
    const bool isRefused = eventually(
        [&] {
            const auto placed = camera.post("/calls", deadOffer());
            pause = placed ? placed->get_header_value("Retry-After") : "";
            return placed && placed->status == 429;
        },
        20s);
    EXPECT_TRUE(isRefused);
    EXPECT_EQ(pause, "5");
}

}  // namespace
}  // namespace zelrtc::test
