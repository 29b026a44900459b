#include "events/call_history.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace zelrtc::camera {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> dataOf(const EventLog::Batch& batch) {
    std::vector<std::string> data;
    for (const Event& event : batch.events) {
        data.push_back(event.data);
    }
    return data;
}

TEST(EventLogTest, ALateReaderGetsEverythingFromTheBeginning) {
    EventLog log;
    log.append("answer", "a");
    log.append("state", "b");
    EXPECT_THAT(dataOf(log.after(0)), ElementsAre("a", "b"));
}

TEST(EventLogTest, AReaderThatComesBackGetsWhatItHasNotSeen) {
    EventLog log;
    log.append("state", "a");
    const uint64_t seen = log.after(0).events.back().id;
    log.append("state", "b");
    EXPECT_THAT(dataOf(log.after(seen)), ElementsAre("b"));
}

TEST(EventLogTest, NothingNewIsAnEmptyBatch) {
    EventLog log;
    log.append("state", "a");
    const EventLog::Batch batch = log.after(1);
    EXPECT_THAT(batch.events, IsEmpty());
    EXPECT_FALSE(batch.last);
}

TEST(EventLogTest, ASubscribedReaderIsToldOfEveryEventAndOfTheEnd) {
    EventLog log;
    int told = 0;
    log.subscribe([&told] { ++told; });
    log.append("state", "a");
    EXPECT_EQ(told, 1);
    log.appendPassing("level", "b", 1);
    EXPECT_EQ(told, 2);
    log.close();
    EXPECT_EQ(told, 3);
    log.append("state", "late");
    EXPECT_EQ(told, 3);
}

TEST(EventLogTest, OnlyThoseWhoAreSubscribedAreTold) {
    EventLog log;
    int first = 0;
    int second = 0;
    const uint64_t subscription = log.subscribe([&first] { ++first; });
    log.subscribe([&second] { ++second; });
    log.unsubscribe(subscription);
    log.append("state", "a");
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
}

TEST(EventLogTest, PassingEventsKeepOnlyTheNewestOfTheirName) {
    EventLog log;
    log.append("state", "kept");
    for (const char* data : {"1", "2", "3"}) {
        log.appendPassing("level", data, 2);
    }
    log.appendPassing("log", "other", 2);
    EXPECT_THAT(dataOf(log.after(0)), ElementsAre("kept", "2", "3", "other"));
}

TEST(EventLogTest, AClosedLogTakesNothingMore) {
    EventLog log;
    log.append("ended", "a");
    log.close();
    log.append("state", "late");
    log.appendPassing("level", "late", 5);
    const EventLog::Batch batch = log.after(0);
    EXPECT_THAT(dataOf(batch), ElementsAre("a"));
    EXPECT_TRUE(batch.last);
}

}  // namespace
}  // namespace zelrtc::camera
