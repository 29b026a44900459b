// Calls whose release takes as long as an SDK takes that waits for its data channel: none waits for another.

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <string>

#include "camera_process.h"
#include "viewer_process.h"
#include "waiting.h"

namespace zelrtc::test {
namespace {

using namespace std::chrono_literals;

constexpr size_t kCalls = 8;
// One after the other they would take twice as long as any limit here.
constexpr const char* kReleaseMs = "2200";

class SlowRelease : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): there is no other thread yet
        setenv("ZELRTC_HOSTSDK_SLOW_RELEASE_MS", kReleaseMs, 1);
    }
    static void TearDownTestSuite() {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): there is no other thread yet
        unsetenv("ZELRTC_HOSTSDK_SLOW_RELEASE_MS");
    }

    size_t released() const {
        const std::string log = camera_.log();
        size_t count = 0;
        for (size_t place = log.find(", released"); place != std::string::npos;
             place = log.find(", released", place + 1)) {
            ++count;
        }
        return count;
    }

    CameraProcess camera_;
    ViewerProcess viewers_{camera_.url(), {"--keep", "--no-decode", "--calls", std::to_string(kCalls)}};
};

TEST_F(SlowRelease, OfEightCallsDoesNotHoldUpTheEndOfTheCamera) {
    ASSERT_TRUE(camera_.hasConnectedCalls(kCalls));
    camera_.signal(SIGINT);
    EXPECT_TRUE(eventually([this] { return released() == kCalls; }, 6s)) << released() << " are released";
    // A sanitizer looks for leaks after that.
    EXPECT_TRUE(camera_.exits(20s));
}

TEST_F(SlowRelease, OfCallsThatEndTogetherTakesNoLongerThanOfOne) {
    ASSERT_TRUE(camera_.hasConnectedCalls(kCalls));
    for (size_t number = 1; number <= kCalls; ++number) {
        const auto removed = camera_.remove(camera_.callPath(number));
        ASSERT_TRUE(removed);
        EXPECT_EQ(removed->status, 204);
    }
    EXPECT_TRUE(camera_.hasNoCalls(8s));
}

TEST_F(SlowRelease, LeavesTheOtherCallsAndNewOnesAlone) {
    ASSERT_TRUE(camera_.hasConnectedCalls(kCalls));
    ViewerProcess staying(camera_.url(), {"--keep"});
    ASSERT_TRUE(camera_.hasConnectedCalls(kCalls + 1));
    ASSERT_TRUE(camera_.firstCallLasts(2s));
    for (size_t number = 1; number <= kCalls; ++number) {
        ASSERT_TRUE(camera_.remove(camera_.callPath(number)));
    }
    const auto added = view(camera_.url(), {"--seconds", "1"});
    EXPECT_EQ(added.status, 0) << added.report.dump(2);
    EXPECT_TRUE(camera_.hasConnectedCalls(1));
    const auto stayed = staying.hangUp();
    EXPECT_EQ(stayed.status, 0) << stayed.report.dump(2);
    EXPECT_LT(stayed.call().at("video").at("largestGapMs"), 1000);
}

}  // namespace
}  // namespace zelrtc::test
