// How calls end on an SDK that is slow to release a connection.
#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "call/call_error.h"
#include "call/call_keeper.h"
#include "call/call_registry.h"
#include "call_support.h"
#include "media/mulaw.h"
#include "recording_sdk.h"

namespace zelrtc::camera {
namespace {

using ::testing::Contains;
using ::testing::Field;
using ::testing::IsEmpty;
using namespace std::chrono_literals;
using zelrtc::test::RecordingSdk;
using zelrtc::test::SdkFunction;

class CallEndTest : public ::testing::Test {
protected:
    static constexpr size_t kMaxCalls = 8;

    CallEndTest() {
        RecordingSdk::instance().reset();
    }

    ~CallEndTest() override {
        release_.open();
        calls_.shutdown();
        RecordingSdk::instance().reset();
    }

    void releaseSlowly(Gate& gate) {
        RecordingSdk::instance().during(SdkFunction::freePeerConnection, [&gate] { gate.pass(); });
    }

    std::string place() {
        return calls_.place(kOffer, true, "viewer")->key();
    }

    std::vector<Event> eventsOf(const std::string& key) {
        return calls_.eventsOf(key)->after(0).events;
    }

    Gate release_;
    MediaHub hub_{streamsWithoutFrames(), tonePattern()};
    CallRegistry calls_{{{}, "", kMaxCalls, ""}, hub_};
};

TEST_F(CallEndTest, CallsAreReleasedBesideEachOther) {
    releaseSlowly(release_);
    const std::vector<std::string> keys{place(), place(), place()};
    for (const std::string& key : keys) {
        calls_.end(key, "the viewer hung up");
    }
    EXPECT_TRUE(release_.hasHeld(3, 5s));
    EXPECT_EQ(calls_.held(), 3U);
    release_.open();
    EXPECT_TRUE(eventually([this] { return calls_.held() == 0; }));
}

TEST_F(CallEndTest, TheViewerIsToldBeforeTheRelease) {
    releaseSlowly(release_);
    const std::string key = place();
    calls_.end(key, "the viewer hung up");
    ASSERT_TRUE(release_.hasHeld(1));
    EXPECT_THAT(eventsOf(key), Contains(Field(&Event::name, "ended")));
}

TEST_F(CallEndTest, OtherCallsGoOnDuringARelease) {
    releaseSlowly(release_);
    const CallKeeper keeper(
        calls_, [] {}, 5ms);
    const std::string ending = place();
    const std::string staying = place();
    auto& viewer = RecordingSdk::instance().connection();
    viewer.fireState(RTC_PEER_CONNECTION_STATE_CONNECTED);
    calls_.end(ending, "the viewer hung up");
    ASSERT_TRUE(release_.hasHeld(1));

    std::vector<BYTE> samples(kMulawFrameBytes, 0x80);
    Frame frame{};
    frame.frameData = samples.data();
    frame.size = static_cast<UINT32>(samples.size());
    viewer.audio().fireFrame(frame);
    EXPECT_TRUE(eventually([&] {
        const auto events = eventsOf(staying);
        return std::any_of(events.begin(), events.end(), [](const Event& event) { return event.name == "level"; });
    }));
    EXPECT_EQ(calls_.find(staying)->select(2, std::nullopt).video, 2);
    EXPECT_EQ(calls_.find(place())->summary().state, "none");
    EXPECT_EQ(release_.holds(), 1U) << "the release had already finished";
}

TEST_F(CallEndTest, TheKeeperEndsFailedCallsBesideEachOther) {
    releaseSlowly(release_);
    const CallKeeper keeper(
        calls_, [] {}, 5ms);
    for (int call = 0; call < 2; ++call) {
        place();
        RecordingSdk::instance().connection().fireState(RTC_PEER_CONNECTION_STATE_FAILED);
    }
    EXPECT_TRUE(release_.hasHeld(2, 5s));
}

TEST_F(CallEndTest, ShutdownReleasesAllAtOnceAndWaitsForTheLast) {
    Gate all(kMaxCalls);
    releaseSlowly(all);
    for (size_t call = 0; call < kMaxCalls; ++call) {
        place();
    }
    const auto start = std::chrono::steady_clock::now();
    calls_.shutdown();
    EXPECT_LT(std::chrono::steady_clock::now() - start, kLimit);
    EXPECT_TRUE(all.hasHeld(kMaxCalls, 0ms));
    EXPECT_EQ(calls_.held(), 0U);
    EXPECT_EQ(RecordingSdk::instance().liveConnections(), 0U);
}

TEST_F(CallEndTest, ShutdownWaitsForACallThatWasEndedBefore) {
    releaseSlowly(release_);
    calls_.end(place(), "the viewer hung up");
    ASSERT_TRUE(release_.hasHeld(1));
    Gate down(1);
    std::thread stopping([&] {
        calls_.shutdown();
        down.pass();
    });
    EXPECT_FALSE(down.hasHeld(1, 500ms));
    release_.open();
    stopping.join();
    EXPECT_EQ(RecordingSdk::instance().liveConnections(), 0U);
}

TEST_F(CallEndTest, MemoryIsTidiedUpAfterTheLastReleaseAndNotBefore) {
    releaseSlowly(release_);
    Gate tidied(1);
    const CallKeeper keeper(
        calls_, [&tidied] { tidied.pass(); }, 5ms);
    calls_.end(place(), "the viewer hung up");
    ASSERT_TRUE(release_.hasHeld(1));
    EXPECT_FALSE(tidied.hasHeld(1, 500ms));
    release_.open();
    EXPECT_TRUE(tidied.hasHeld(1));
}

TEST_F(CallEndTest, MemoryIsTidiedUpBesideACallThatStays) {
    Gate tidied(1);
    const CallKeeper keeper(
        calls_, [&tidied] { tidied.pass(); }, 5ms);
    place();
    const std::string ending = place();
    EXPECT_FALSE(tidied.hasHeld(1, 500ms));
    calls_.end(ending, "the viewer hung up");
    EXPECT_TRUE(tidied.hasHeld(1));
    EXPECT_EQ(calls_.held(), 1U);
}

TEST_F(CallEndTest, NothingOfACallStaysOnceItIsReleased) {
    const std::string key = place();
    const std::weak_ptr<Call> call = calls_.find(key);
    calls_.end(key, "the viewer hung up");
    EXPECT_TRUE(eventually([&] { return call.expired(); }));
}

TEST_F(CallEndTest, WhoKeepsHangingUpAndCallingIsToldToWait) {
    releaseSlowly(release_);
    for (size_t call = 0; call < kMaxCalls; ++call) {
        calls_.end(place(), "the viewer hung up");
    }
    try {
        place();
        ADD_FAILURE() << "a call was admitted";
    } catch (const CallError& error) {
        EXPECT_EQ(error.kind(), CallError::Kind::kUnavailable);
        EXPECT_THAT(error.what(), ::testing::HasSubstr("releasing"));
    }
    release_.open();
    EXPECT_TRUE(eventually([this] { return calls_.held() == 0; }));
    EXPECT_FALSE(place().empty());
}

TEST_F(CallEndTest, ACallWithoutAnAnswerInTimeIsEndedAndSaysHowLongItHasWaited) {
    const auto call = calls_.place(kOffer, false, "viewer");
    try {
        calls_.answerOf(*call, 1s);
        ADD_FAILURE() << "the call was answered";
    } catch (const CallError& error) {
        EXPECT_EQ(error.kind(), CallError::Kind::kNoAnswer);
        EXPECT_THAT(error.what(), ::testing::HasSubstr("within 1 seconds"));
    }
    EXPECT_TRUE(eventually([this] { return calls_.held() == 0; }));
}

TEST_F(CallEndTest, WhoWaitsForTheAnswerOfACallThatEndsIsToldBeforeTheRelease) {
    releaseSlowly(release_);
    const auto call = calls_.place(kOffer, false, "viewer");
    const auto start = std::chrono::steady_clock::now();
    std::thread other([&] { calls_.end(call->key(), "the viewer hung up"); });
    EXPECT_THROW(calls_.answerOf(*call), CallError);
    EXPECT_LT(std::chrono::steady_clock::now() - start, kLimit / 2);
    other.join();
}

TEST_F(CallEndTest, ARefusedOfferLeavesNoCall) {
    RecordingSdk::instance().failAlways(SdkFunction::setRemoteDescription, 0x55000008);
    try {
        place();
        ADD_FAILURE() << "the offer was accepted";
    } catch (const CallError& error) {
        EXPECT_EQ(error.kind(), CallError::Kind::kOfferRefused);
        EXPECT_EQ(static_cast<uint32_t>(error.sdkStatus()), 0x55000008U);
    }
    EXPECT_THAT(calls_.all(), IsEmpty());
    EXPECT_TRUE(eventually([this] { return calls_.held() == 0; }));
}

}  // namespace
}  // namespace zelrtc::camera
