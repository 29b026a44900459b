// What one client can take of the calls that a camera has.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "call/call_error.h"
#include "call/call_keeper.h"
#include "call/call_registry.h"
#include "call_support.h"
#include "recording_sdk.h"

namespace zelrtc::camera {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using namespace std::chrono_literals;
using zelrtc::test::RecordingSdk;

class CallShareTest : public ::testing::Test {
protected:
    static constexpr size_t kMaxCalls = 6;

    CallShareTest() {
        RecordingSdk::instance().reset();
    }
    ~CallShareTest() override {
        calls_->shutdown();
        calls_.reset();
        RecordingSdk::instance().reset();
    }

    static CallSettings settings(std::chrono::milliseconds patience) {
        CallSettings settings;
        settings.maxCalls = kMaxCalls;
        settings.patience = patience;
        return settings;
    }

    void beImpatient() {
        calls_ = std::make_unique<CallRegistry>(settings(0ms), hub_);
    }

    int place(const std::string& client) {
        return calls_->place(kOffer, true, client)->id();
    }

    int connect(const std::string& client) {
        const int id = place(client);
        RecordingSdk::instance().connection().fireState(RTC_PEER_CONNECTION_STATE_CONNECTED);
        return id;
    }

    std::vector<int> ids() {
        std::vector<int> ids;
        for (const auto& call : calls_->all()) {
            ids.push_back(call->id());
        }
        return ids;
    }

    CallError::Kind refusal(const std::string& client) {
        try {
            place(client);
        } catch (const CallError& error) {
            return error.kind();
        }
        ADD_FAILURE() << "a call was admitted";
        return CallError::Kind::kNoSuchCall;
    }

    MediaHub hub_{streamsWithoutFrames(), tonePattern()};
    std::unique_ptr<CallRegistry> calls_ = std::make_unique<CallRegistry>(settings(1h), hub_);
};

TEST_F(CallShareTest, WhenTheHouseIsFullTheOldestCallThatHasNotConnectedGivesWay) {
    connect("a");
    const std::string key = calls_->place(kOffer, true, "b")->key();
    for (size_t call = 2; call < kMaxCalls; ++call) {
        connect("c");
    }
    EXPECT_EQ(place("d"), 7);
    EXPECT_THAT(ids(), ElementsAre(1, 3, 4, 5, 6, 7));
    const auto told = [&] {
        const auto events = calls_->eventsOf(key)->after(0).events;
        return !events.empty() && events.back().name == "ended" &&
               events.back().data.find("place") != std::string::npos;
    };
    EXPECT_TRUE(eventually(told));
}

TEST_F(CallShareTest, AConnectedCallNeverGivesWay) {
    for (size_t call = 0; call < kMaxCalls; ++call) {
        connect("a");
    }
    EXPECT_EQ(refusal("b"), CallError::Kind::kUnavailable);
    EXPECT_EQ(ids().size(), kMaxCalls);
}

TEST_F(CallShareTest, InAFullHouseWhoPlacesManyWaitsAndGivesWayToOthers) {
    place("patient");
    for (size_t call = 1; call < kMaxCalls; ++call) {
        place("crowd");
    }
    EXPECT_EQ(refusal("crowd"), CallError::Kind::kTooManyOfOne);
    place("other");
    EXPECT_THAT(ids(), ElementsAre(1, 3, 4, 5, 6, 7));
}

TEST_F(CallShareTest, CallsAtOnceAreNoCrowdWhileTheyConnect) {
    for (size_t call = 0; call < kMaxCalls; ++call) {
        place("a");
    }
    calls_->thinOut();
    EXPECT_EQ(ids().size(), kMaxCalls);
}

TEST_F(CallShareTest, AClientWhoseCallsDoNotConnectIsToldToWaitAndNobodyElseIs) {
    beImpatient();
    for (size_t call = 0; call < kMostSlowCalls; ++call) {
        place("a");
    }
    EXPECT_EQ(refusal("a"), CallError::Kind::kTooManyOfOne);
    EXPECT_EQ(connect("b"), 5);
    EXPECT_THAT(ids(), ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(CallShareTest, ConnectedCallsOfOneClientAreItsOwnAffair) {
    beImpatient();
    for (size_t call = 0; call < kMaxCalls; ++call) {
        connect("a");
    }
    calls_->thinOut();
    EXPECT_EQ(ids().size(), kMaxCalls);
}

TEST_F(CallShareTest, TheKeeperEndsTheOldestOfACrowdThatHasNotConnected) {
    calls_ = std::make_unique<CallRegistry>(settings(1500ms), hub_);
    for (size_t call = 0; call < kMaxCalls; ++call) {
        place("a");
    }
    const CallKeeper keeper(
        *calls_, [] {}, 5ms);
    EXPECT_TRUE(eventually([this] { return ids().size() == kMostSlowCalls; }));
    EXPECT_THAT(ids(), ElementsAre(3, 4, 5, 6));
}

}  // namespace
}  // namespace zelrtc::camera
