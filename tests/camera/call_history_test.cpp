#include "events/call_history.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace zelrtc::camera {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> dataOf(const CallHistory::Batch& batch) {
    std::vector<std::string> data;
    for (const Event& event : batch.events) {
        data.push_back(event.data);
    }
    return data;
}

TEST(CallHistoryTest, ALateReaderGetsEverythingFromTheBeginning) {
    CallHistory history;
    history.append("answer", "a");
    history.append("state", "b");
    EXPECT_THAT(dataOf(history.after(0)), ElementsAre("a", "b"));
}

TEST(CallHistoryTest, AReaderThatComesBackGetsWhatItHasNotSeen) {
    CallHistory history;
    history.append("state", "a");
    const uint64_t seen = history.after(0).events.back().id;
    history.append("state", "b");
    EXPECT_THAT(dataOf(history.after(seen)), ElementsAre("b"));
}

TEST(CallHistoryTest, NothingNewIsAnEmptyBatch) {
    CallHistory history;
    history.append("state", "a");
    const CallHistory::Batch batch = history.after(1);
    EXPECT_THAT(batch.events, IsEmpty());
    EXPECT_FALSE(batch.last);
}

TEST(CallHistoryTest, ASubscribedReaderIsToldOfEveryEventAndOfTheEnd) {
    CallHistory history;
    int told = 0;
    history.subscribe([&told] { ++told; });
    history.append("state", "a");
    EXPECT_EQ(told, 1);
    history.appendPassing("level", "b", 1);
    EXPECT_EQ(told, 2);
    history.close();
    EXPECT_EQ(told, 3);
    history.append("state", "late");
    EXPECT_EQ(told, 3);
}

TEST(CallHistoryTest, OnlyThoseWhoAreSubscribedAreTold) {
    CallHistory history;
    int first = 0;
    int second = 0;
    const uint64_t subscription = history.subscribe([&first] { ++first; });
    history.subscribe([&second] { ++second; });
    history.unsubscribe(subscription);
    history.append("state", "a");
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
}

TEST(CallHistoryTest, PassingEventsKeepOnlyTheNewestOfTheirName) {
    CallHistory history;
    history.append("state", "kept");
    for (const char* data : {"1", "2", "3"}) {
        history.appendPassing("level", data, 2);
    }
    history.appendPassing("log", "other", 2);
    EXPECT_THAT(dataOf(history.after(0)), ElementsAre("kept", "2", "3", "other"));
}

TEST(CallHistoryTest, AClosedHistoryTakesNothingMore) {
    CallHistory history;
    history.append("ended", "a");
    history.close();
    history.append("state", "late");
    history.appendPassing("level", "late", 5);
    const CallHistory::Batch batch = history.after(0);
    EXPECT_THAT(dataOf(batch), ElementsAre("a"));
    EXPECT_TRUE(batch.last);
}

}  // namespace
}  // namespace zelrtc::camera
