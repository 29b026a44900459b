#include "events/call_history.h"

#include <gmock/gmock.h>

#include <string>
#include <thread>
#include <vector>

namespace zelrtc::camera {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::chrono_literals;

constexpr auto kLong = 20s;

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
    EXPECT_THAT(dataOf(log.next(0, 0ms)), ElementsAre("a", "b"));
}

TEST(EventLogTest, AReaderThatComesBackGetsWhatItHasNotSeen) {
    EventLog log;
    log.append("state", "a");
    const uint64_t seen = log.next(0, 0ms).events.back().id;
    log.append("state", "b");
    EXPECT_THAT(dataOf(log.next(seen, 0ms)), ElementsAre("b"));
}

TEST(EventLogTest, NothingNewIsAnEmptyBatchWhenTheTimeIsUp) {
    EventLog log;
    log.append("state", "a");
    const EventLog::Batch batch = log.next(1, 1ms);
    EXPECT_THAT(batch.events, IsEmpty());
    EXPECT_FALSE(batch.last);
}

TEST(EventLogTest, AWaitingReaderIsWokenByAnEvent) {
    EventLog log;
    std::thread writer([&] { log.append("state", "a"); });
    EXPECT_THAT(dataOf(log.next(0, kLong)), ElementsAre("a"));
    writer.join();
}

TEST(EventLogTest, AWaitingReaderIsWokenByTheEnd) {
    EventLog log;
    std::thread writer([&] { log.close(); });
    EXPECT_TRUE(log.next(0, kLong).last);
    writer.join();
}

TEST(EventLogTest, PassingEventsKeepOnlyTheNewestOfTheirName) {
    EventLog log;
    log.append("state", "kept");
    for (const char* data : {"1", "2", "3"}) {
        log.appendPassing("level", data, 2);
    }
    log.appendPassing("log", "other", 2);
    EXPECT_THAT(dataOf(log.next(0, 0ms)), ElementsAre("kept", "2", "3", "other"));
}

TEST(EventLogTest, AClosedLogTakesNothingMore) {
    EventLog log;
    log.append("ended", "a");
    log.close();
    log.append("state", "late");
    log.appendPassing("level", "late", 5);
    const EventLog::Batch batch = log.next(0, 0ms);
    EXPECT_THAT(dataOf(batch), ElementsAre("a"));
    EXPECT_TRUE(batch.last);
}

}  // namespace
}  // namespace zelrtc::camera
