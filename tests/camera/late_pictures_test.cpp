// What the camera's own encoder does when it is held up.
#include <gmock/gmock.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "media/video_source.h"

namespace zelrtc::camera {
namespace {

using namespace std::chrono_literals;

constexpr int64_t kFrameUs = 1000000 / 30;
constexpr size_t kHeldUp = 10;  // the number of the picture
constexpr auto kHold = 500ms;
constexpr auto kPicturesWithin = 20s;

int64_t nowUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

class LatePicturesTest : public ::testing::Test {
protected:
    LatePicturesTest() {
        initVideo();
    }

    // Holds the source's thread up once, as an encoder without a processor does.
    void take(const AccessUnit& unit) {
        if (count() == kHeldUp) {
            std::this_thread::sleep_for(kHold);
            heldUntilUs_ = nowUs();
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        timesUs_.push_back(unit.timeUs);
        changed_.notify_all();
    }

    size_t count() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return timesUs_.size();
    }

    bool watch(size_t pictures) {
        VideoSource::Sinks sinks;
        sinks.picture = [this](const AccessUnit& unit) { take(unit); };
        VideoSource source(2, VideoInput{}, VideoFormat{320, 180, 300}, sinks);
        if (!source.start()) {
            return false;
        }
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, kPicturesWithin, [&] { return timesUs_.size() >= pictures; });
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<int64_t> timesUs_;
    int64_t heldUntilUs_ = 0;
};

TEST_F(LatePicturesTest, AreLeftOutInsteadOfShownLate) {
    ASSERT_TRUE(watch(kHeldUp + 2));
    EXPECT_GE(timesUs_[kHeldUp + 1], heldUntilUs_ - kFrameUs) << "it was drawn when its time was over";
}

}  // namespace
}  // namespace zelrtc::camera
