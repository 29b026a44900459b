#include "media/talk_back.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "media/mulaw.h"

namespace zelrtc::camera {
namespace {

using namespace std::chrono_literals;
using Time = RealTime::Clock::time_point;

constexpr uint64_t kPlenty = uint64_t{64} * 1024 * 1024;
constexpr uint64_t kHeaderBytes = 44;

class TalkBackTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(mkdtemp(directory_.data()), nullptr);
    }
    void TearDown() override {
        std::filesystem::remove_all(directory_);
    }
    std::string path(const std::string& name = "call-1.wav") const {
        return directory_ + "/" + name;
    }
    // 20 ms of sound each.
    void talk(TalkBack& talkBack, int frames, std::chrono::milliseconds apart) {
        const std::vector<uint8_t> frame(kMulawFrameBytes, 0x80);
        for (int i = 0; i < frames; ++i) {
            talkBack.push(frame.data(), frame.size(), now_);
            now_ += apart;
        }
    }
    uint64_t samplesIn(const std::string& file) const {
        return (std::filesystem::file_size(file) - kHeaderBytes) / sizeof(int16_t);
    }

    Time now_ = RealTime::Clock::now();

private:
    std::string directory_ = (std::filesystem::temp_directory_path() / "camera-talk-XXXXXX").string();
};

TEST_F(TalkBackTest, AVoiceInRealTimeIsRecordedWhole) {
    RecordingBudget budget(kPlenty);
    TalkBack talkBack(path(), budget);
    for (int second = 0; second < 30; ++second) {
        talk(talkBack, 50, 20ms);
        talkBack.process();
    }
    EXPECT_EQ(samplesIn(path()), 30U * kMulawRate);
}

TEST_F(TalkBackTest, WhatTheNetworkHeldUpForLessThanTwoSecondsIsRecordedWhole) {
    RecordingBudget budget(kPlenty);
    TalkBack talkBack(path(), budget);
    talk(talkBack, 50, 20ms);
    now_ += 1900ms;
    talk(talkBack, 95, 0ms);
    const auto level = talkBack.process();
    ASSERT_TRUE(level);
    EXPECT_EQ(level->frames, 145U);
}

TEST_F(TalkBackTest, SamplesThatComeFasterThanTimePassesAreDropped) {
    RecordingBudget budget(kPlenty);
    TalkBack talkBack(path(), budget);
    for (int second = 0; second < 5; ++second) {
        talk(talkBack, 1000, 1ms);
        talkBack.process();
    }
    EXPECT_LE(samplesIn(path()), 7U * kMulawRate);
    EXPECT_GE(samplesIn(path()), 5U * kMulawRate);
}

TEST_F(TalkBackTest, RecordingsTogetherTakeNoMoreThanTheyMay) {
    constexpr uint64_t kRoom = 100000;
    RecordingBudget budget(kRoom);
    TalkBack first(path("call-1.wav"), budget);
    TalkBack second(path("call-2.wav"), budget);
    for (int i = 0; i < 10; ++i) {
        talk(first, 50, 20ms);
        first.process();
        now_ -= 1s;
        talk(second, 50, 20ms);
        EXPECT_TRUE(second.process()) << "it is heard all the same";
    }
    const uint64_t taken =
        std::filesystem::file_size(path("call-1.wav")) + std::filesystem::file_size(path("call-2.wav"));
    EXPECT_LE(taken, kRoom);
    EXPECT_GE(taken, kRoom * 3 / 4);
}

TEST_F(TalkBackTest, AFileTooManyIsNotEvenCreated) {
    RecordingBudget budget(1000);
    TalkBack talkBack(path(), budget);
    talk(talkBack, 1, 20ms);
    EXPECT_TRUE(talkBack.process());
    EXPECT_FALSE(std::filesystem::exists(path()));
}

}  // namespace
}  // namespace zelrtc::camera
