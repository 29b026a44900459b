// A camera that nobody watches costs next to nothing.

#include <gtest/gtest.h>

#include "camera_process.h"
#include "sdk_limits.h"
#include "viewer_process.h"
#include "waiting.h"

namespace zelrtc::test {
namespace {

using namespace std::chrono_literals;

constexpr auto kMeasuredFor = 4s;
constexpr double kMostOfACore = 0.02;

/** The share of a core that the camera used over the measured time. */
double shareOfACore(const CameraProcess& camera) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    const double before = camera.cpuSeconds();
    eventually([&] { return Clock::now() - start >= kMeasuredFor; }, kMeasuredFor * 2);
    const std::chrono::duration<double> elapsed = Clock::now() - start;
    return (camera.cpuSeconds() - before) / elapsed.count();
}

TEST(IdleCamera, EncodesNothingBeforeTheFirstCall) {
    const CameraProcess camera;
    EXPECT_EQ(camera.runningEncoders(), 0);
    EXPECT_LT(shareOfACore(camera), kMostOfACore);
}

TEST(IdleCamera, StopsEncodingAfterTheLastCall) {
    const CameraProcess camera;
    ViewerProcess viewer(camera.url(), {"--keep", "--no-decode"});
    ASSERT_TRUE(camera.hasConnectedCalls(1));
    EXPECT_EQ(camera.runningEncoders(), 1);
    viewer.hangUp();
    ASSERT_TRUE(camera.hasNoCalls(sdkLimit("release")));
    EXPECT_TRUE(eventually([&] { return camera.runningEncoders() == 0; }, 10s));
    EXPECT_LT(shareOfACore(camera), kMostOfACore);
}

}  // namespace
}  // namespace zelrtc::test
