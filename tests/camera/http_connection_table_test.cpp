// Which connection gives way, and when one runs out of time. The time is made up.

#include "http/connection_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelrtc::camera {
namespace {

using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

HttpLimits smallLimits() {
    HttpLimits limits;
    limits.connections = 4;
    limits.connectionsPerAddress = 3;
    return limits;
}

class Connections : public ::testing::Test {
protected:
    std::optional<uint64_t> add(uint64_t id, const std::string& address) {
        now_ += seconds(1);
        return table_.add(id, address, now_);
    }

    void enter(uint64_t id, Phase phase) {
        now_ += seconds(1);
        table_.enter(id, phase, now_);
    }

    HttpClock::time_point now_;
    ConnectionTable table_{smallLimits()};
};

TEST_F(Connections, StayWhileThereIsRoom) {
    EXPECT_EQ(add(1, "a"), std::nullopt);
    EXPECT_EQ(add(2, "a"), std::nullopt);
    EXPECT_EQ(add(3, "a"), std::nullopt);
    EXPECT_EQ(add(4, "b"), std::nullopt);
    EXPECT_EQ(table_.size(), 4U);
}

TEST_F(Connections, OfOneAddressMakeRoomForItsNewOnes) {
    add(1, "a");
    add(2, "a");
    add(3, "a");
    enter(1, Phase::kHandling);
    EXPECT_EQ(add(4, "a"), 2U);
    EXPECT_EQ(table_.phaseOf(2), std::nullopt);
    EXPECT_EQ(table_.size(), 3U);
}

TEST_F(Connections, CountHowLongTheyHaveWaitedNotHowOldTheyAre) {
    add(1, "a");
    add(2, "a");
    add(3, "a");
    enter(1, Phase::kBody);
    enter(2, Phase::kHeader);
    EXPECT_EQ(add(4, "a"), 3U);
    EXPECT_EQ(add(5, "a"), 1U);
}

TEST_F(Connections, OfABusyAddressAreTurnedAway) {
    for (const uint64_t id : {1U, 2U, 3U}) {
        add(id, "a");
        enter(id, id == 1 ? Phase::kHandling : Phase::kQuiet);
    }
    EXPECT_EQ(add(4, "a"), 4U);
}

TEST_F(Connections, OfTheFullestAddressGiveWayFirst) {
    add(1, "b");
    add(2, "a");
    add(3, "a");
    add(4, "a");
    EXPECT_EQ(add(5, "c"), 2U);
}

TEST_F(Connections, ThatAskNothingGiveWayBeforeStreams) {
    add(1, "a");
    add(2, "a");
    enter(1, Phase::kQuiet);
    enter(2, Phase::kQuiet);
    add(3, "b");
    add(4, "c");
    EXPECT_EQ(add(5, "d"), 3U);
}

TEST_F(Connections, OfTheFullestAddressGiveUpStreamsForOthers) {
    for (const uint64_t id : {1U, 2U, 3U, 4U}) {
        add(id, id == 4 ? "b" : "a");
        enter(id, id == 1 ? Phase::kHandling : Phase::kSending);
    }
    EXPECT_EQ(add(5, "c"), 2U);
}

TEST_F(Connections, GiveUpNoHandler) {
    for (const uint64_t id : {1U, 2U, 3U, 4U}) {
        add(id, id == 4 ? "b" : "a");
        enter(id, Phase::kHandling);
    }
    EXPECT_EQ(add(5, "c"), 5U);
}

TEST_F(Connections, HaveDeadlinesByPhase) {
    const HttpLimits limits = smallLimits();
    add(1, "a");
    EXPECT_EQ(table_.nextDeadline(), now_ + limits.idle);
    for (const auto& [phase, limit] :
         {std::pair(Phase::kHeader, limits.header), std::pair(Phase::kBody, limits.body),
          std::pair(Phase::kSending, limits.response), std::pair(Phase::kQuiet, limits.quiet)}) {
        enter(1, phase);
        EXPECT_EQ(table_.nextDeadline(), now_ + limit);
    }
    enter(1, Phase::kHandling);
    EXPECT_EQ(table_.nextDeadline(), std::nullopt);
    table_.holdBack(1, now_ + seconds(2));
    EXPECT_EQ(table_.phaseOf(1), Phase::kHeldBack);
    EXPECT_EQ(table_.nextDeadline(), now_ + seconds(2));
}

TEST_F(Connections, ExpireAtTheirDeadlineAndNotBefore) {
    add(1, "a");
    add(2, "a");
    const auto deadline = *table_.nextDeadline();
    EXPECT_THAT(table_.expired(deadline - std::chrono::nanoseconds(1)), IsEmpty());
    EXPECT_THAT(table_.expired(deadline), ElementsAre(1U));
    EXPECT_THAT(table_.expired(deadline + seconds(1)), ElementsAre(1U, 2U));
}

TEST_F(Connections, AreForgotten) {
    add(1, "a");
    table_.remove(1);
    table_.remove(1);
    enter(1, Phase::kBody);
    EXPECT_EQ(table_.size(), 0U);
    EXPECT_EQ(table_.nextDeadline(), std::nullopt);
}

}  // namespace
}  // namespace zelrtc::camera
