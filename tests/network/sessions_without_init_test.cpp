// Sessions that are created and never initialised: an application may give up before it uses the offer.
#include <gtest/gtest.h>
#include <zelwebrtc_session.h>

#include <memory>
#include <vector>

#include "process/process_usage.h"

namespace {

constexpr int kSessions = 200;
constexpr size_t kServers = 21;
// A session's own copy of its servers takes less than 8 kB; see docs/footprint.md.
constexpr uint64_t kHeldByASession = 10000;
// Less than one byte for each session may remain.
constexpr uint64_t kHeldAfterwards = kSessions - 1;

ZelRtcSessionConfig fullConfig() {
    const ZelRtcIceServer server{"turn:turn-01.some-region.example.net:443?transport=tcp",
                                 "1767225600:arn-of-a-channel-or-a-user-name-of-this-length/0123456789abcdef",
                                 "bm90IGEgcmVhbCBzZWNyZXQsIGp1c3QgbG9uZyBlbm91Z2g="};
    ZelRtcSessionConfig config;
    config.iceServers.assign(kServers, server);
    return config;
}

void makeAndDestroy(const ZelRtcSessionConfig& config) {
    std::vector<std::unique_ptr<ZelRtcSession>> sessions(kSessions);
    const int descriptors = zelrtc::camera::openDescriptors();
    const int threads = zelrtc::camera::runningThreads();
    const uint64_t heap = zelrtc::camera::heapBytes().value_or(0);
    for (int i = 0; i < kSessions; i++) {
        sessions[static_cast<size_t>(i)] = std::make_unique<ZelRtcSession>(i, config, nullptr);
    }
    EXPECT_EQ(zelrtc::camera::openDescriptors(), descriptors);
    EXPECT_EQ(zelrtc::camera::runningThreads(), threads);
    EXPECT_LT(zelrtc::camera::heapBytes().value_or(0) - heap, kSessions * kHeldByASession);
}

}  // namespace

TEST(SessionsWithoutInit, HoldNoDescriptorAndNoThreadAndLeaveNothingBehind) {
    loggerSetLogLevel(LOG_LEVEL_SILENT);
    const ZelRtcSessionConfig config = fullConfig();
    makeAndDestroy(config);  // allocates what is allocated once
    const int descriptors = zelrtc::camera::openDescriptors();
    const int threads = zelrtc::camera::runningThreads();
    const uint64_t heap = zelrtc::camera::heapBytes().value_or(0);
    makeAndDestroy(config);
    EXPECT_EQ(zelrtc::camera::openDescriptors(), descriptors);
    EXPECT_EQ(zelrtc::camera::runningThreads(), threads);
    EXPECT_LE(zelrtc::camera::heapBytes().value_or(0), heap + kHeldAfterwards);
}
