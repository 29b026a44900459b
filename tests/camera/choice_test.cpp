// Choices of streams: encoders start and stop for them.
#include <gmock/gmock.h>

#include <array>
#include <memory>

#include "call/call_registry.h"
#include "call_support.h"
#include "recording_sdk.h"

namespace zelrtc::camera {
namespace {

using namespace std::chrono_literals;
using zelrtc::test::RecordingSdk;

class ChoiceTest : public ::testing::Test {
protected:
    ChoiceTest() {
        RecordingSdk::instance().reset();
    }
    ~ChoiceTest() override {
        calls_.shutdown();
        call_.reset();
        RecordingSdk::instance().reset();
    }

    int sent() const {
        return call_->summary().selection.video;
    }

    MediaHub hub_{streamsWithoutFrames(), tonePattern()};
    CallRegistry calls_{CallSettings{}, hub_};
    std::shared_ptr<Call> call_ = calls_.place(kOffer, true, "viewer");
};

TEST_F(ChoiceTest, TheFirstIsMadeAtOnce) {
    EXPECT_EQ(call_->select(2, std::nullopt).video, 2);
    EXPECT_EQ(sent(), 2);
}

TEST_F(ChoiceTest, OfManyTheLastHoldsWhenThePauseIsOver) {
    const auto start = std::chrono::steady_clock::now();
    call_->select(2, std::nullopt);
    for (int choice = 0; choice < 50; ++choice) {
        EXPECT_EQ(call_->select(choice % kVideoStreams, std::nullopt).video, choice % kVideoStreams);
    }
    EXPECT_EQ(call_->select(0, false).video, 0);
    EXPECT_TRUE(call_->summary().selection.audio);
    EXPECT_TRUE(eventually([this] {
        call_->applyChoice();
        return sent() != 2;
    }));
    EXPECT_EQ(sent(), 0);
    EXPECT_FALSE(call_->summary().selection.audio);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 500ms);
}

TEST_F(ChoiceTest, ChangesComeAtMostTwiceASecond) {
    int changes = 0;
    int before = sent();
    const auto end = std::chrono::steady_clock::now() + 2s;
    for (int choice = 0; std::chrono::steady_clock::now() < end; ++choice) {
        call_->select(choice % kVideoStreams, std::nullopt);
        changes += sent() != before ? 1 : 0;
        before = sent();
    }
    EXPECT_GE(changes, 2);
    EXPECT_LE(changes, 5);
}

TEST_F(ChoiceTest, WhatIsSentAlreadyIsNoChange) {
    call_->select(1, true);
    call_->select(2, std::nullopt);
    EXPECT_EQ(sent(), 2);
}

}  // namespace
}  // namespace zelrtc::camera
