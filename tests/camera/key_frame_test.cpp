// How often a stream makes key frames, whoever asks for them.
#include <gmock/gmock.h>

#include <atomic>
#include <thread>
#include <vector>

#include "call/key_frame_retry.h"
#include "media/key_frame_pace.h"
#include "media/video_source.h"

namespace zelrtc::camera {
namespace {

using namespace std::chrono_literals;

constexpr auto kFrame = 20ms;
const KeyFramePace::Clock::time_point kStart{1h};

TEST(KeyFramePaceTest, GrantsTheFirstTwoAtOnce) {
    KeyFramePace pace;
    EXPECT_FALSE(pace.takeDue(kStart));
    pace.request();
    EXPECT_TRUE(pace.takeDue(kStart));
    pace.onKeyFrame(kStart);
    EXPECT_FALSE(pace.takeDue(kStart + 1ms));
    pace.request();
    EXPECT_TRUE(pace.takeDue(kStart + 2ms));
}

TEST(KeyFramePaceTest, NoSecondHoldsMoreThanTwoWhoeverAsksAndHoweverOften) {
    KeyFramePace pace;
    std::vector<KeyFramePace::Clock::time_point> made;
    for (auto now = kStart; now < kStart + 10s; now += kFrame) {
        pace.request();
        // The encoder makes one of its own a second after the last.
        const bool isRegular = made.empty() || now - made.back() >= 1s;
        if (pace.takeDue(now) || isRegular) {
            pace.onKeyFrame(now);
            made.push_back(now);
        }
    }
    ASSERT_GE(made.size(), 19U);
    for (size_t i = 2; i < made.size(); ++i) {
        EXPECT_GE(made[i] - made[i - 2], 1s) << i;
    }
}

TEST(KeyFramePaceTest, OneThatTheEncoderMadeByItselfCounts) {
    KeyFramePace pace;
    pace.onKeyFrame(kStart);
    pace.onKeyFrame(kStart + 400ms);
    pace.request();
    EXPECT_FALSE(pace.takeDue(kStart + 999ms));
    EXPECT_TRUE(pace.takeDue(kStart + 1s)) << "it was still asked for";
}

TEST(KeyFramePaceTest, StartsAfreshWithTheEncoder) {
    KeyFramePace pace;
    pace.onKeyFrame(kStart);
    pace.request();
    EXPECT_TRUE(pace.takeDue(kStart));
    pace.restart();
    pace.onKeyFrame(kStart + 1ms);
    pace.request();
    EXPECT_TRUE(pace.takeDue(kStart + 30ms)) << "a viewer that connects to a camera at rest waits for no picture";
}

TEST(KeyFrameRetryTest, AsksAgainForAKeyFrameThatWasRefused) {
    KeyFrameRetry retry;
    EXPECT_FALSE(retry.onWritten(false, true, kStart));
    EXPECT_TRUE(retry.onWritten(true, true, kStart));
    EXPECT_FALSE(retry.onWritten(false, true, kStart + 99ms));
    EXPECT_TRUE(retry.onWritten(false, true, kStart + 100ms));
    EXPECT_FALSE(retry.onWritten(true, false, kStart + 200ms)) << "it has got through";
    EXPECT_FALSE(retry.onWritten(false, false, kStart + 1h));
}

TEST(KeyFrameRetryTest, AViewerThatNeverTakesOneAsksEverMoreSeldom) {
    KeyFrameRetry retry;
    int asked = 0;
    for (auto now = kStart; now < kStart + 60s; now += kFrame) {
        asked += retry.onWritten(true, true, now) ? 1 : 0;
    }
    EXPECT_LE(asked, 12);
    EXPECT_GE(asked, 6);
}

TEST(KeyFrameRetryTest, AViewerThatTakesOneStartsAfresh) {
    KeyFrameRetry retry;
    auto now = kStart;
    for (; now < kStart + 60s; now += kFrame) {
        retry.onWritten(true, true, now);
    }
    now += 1h;
    EXPECT_FALSE(retry.onWritten(true, false, now));
    EXPECT_TRUE(retry.onWritten(true, true, now));
    EXPECT_TRUE(retry.onWritten(true, true, now + 100ms));
}

TEST(VideoSourceTest, MakesAtMostTwoKeyFramesASecond) {
    constexpr int kFrames = 90;  // three seconds
    initVideo();
    std::atomic<int> frames{0};
    std::atomic<int> keyFrames{0};
    VideoSource* asked = nullptr;
    VideoSource::Sinks sinks;
    sinks.picture = [&](const AccessUnit& unit) {
        ++frames;
        keyFrames += unit.isKeyFrame ? 1 : 0;
        asked->requestKeyFrame();
    };
    VideoSource source(2, VideoInput{}, VideoFormat{320, 180, 300}, sinks);
    asked = &source;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(source.start());
    while (frames < kFrames && std::chrono::steady_clock::now() < start + 20s) {
        std::this_thread::sleep_for(5ms);
    }
    source.stop();
    const std::chrono::duration<double> lasted = std::chrono::steady_clock::now() - start;
    EXPECT_GE(frames, kFrames);
    EXPECT_GE(keyFrames, 4);
    EXPECT_LE(keyFrames, 2 * (lasted.count() + 1));
}

}  // namespace
}  // namespace zelrtc::camera
