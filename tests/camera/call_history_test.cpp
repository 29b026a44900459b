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
    EXPECT_THAT(dataOf(history.next(0, 0ms)), ElementsAre("a", "b"));
}

TEST(CallHistoryTest, AReaderThatComesBackGetsWhatItHasNotSeen) {
    CallHistory history;
    history.append("state", "a");
    const uint64_t seen = history.next(0, 0ms).events.back().id;
    history.append("state", "b");
    EXPECT_THAT(dataOf(history.next(seen, 0ms)), ElementsAre("b"));
}

TEST(CallHistoryTest, NothingNewIsAnEmptyBatchWhenTheTimeIsUp) {
    CallHistory history;
    history.append("state", "a");
    const CallHistory::Batch batch = history.next(1, 1ms);
    EXPECT_THAT(batch.events, IsEmpty());
    EXPECT_FALSE(batch.last);
}

TEST(CallHistoryTest, AWaitingReaderIsWokenByAnEvent) {
    CallHistory history;
    std::thread writer([&] { history.append("state", "a"); });
    EXPECT_THAT(dataOf(history.next(0, kLong)), ElementsAre("a"));
    writer.join();
}

TEST(CallHistoryTest, AWaitingReaderIsWokenByTheEnd) {
    CallHistory history;
    std::thread writer([&] { history.close(); });
    EXPECT_TRUE(history.next(0, kLong).last);
    writer.join();
}

TEST(CallHistoryTest, PassingEventsKeepOnlyTheNewestOfTheirName) {
    CallHistory history;
    history.append("state", "kept");
    for (const char* data : {"1", "2", "3"}) {
        history.appendPassing("level", data, 2);
    }
    history.appendPassing("history", "other", 2);
    EXPECT_THAT(dataOf(history.next(0, 0ms)), ElementsAre("kept", "2", "3", "other"));
}

TEST(CallHistoryTest, AClosedHistoryTakesNothingMore) {
    CallHistory history;
    history.append("ended", "a");
    history.close();
    history.append("state", "late");
    history.appendPassing("level", "late", 5);
    const CallHistory::Batch batch = history.next(0, 0ms);
    EXPECT_THAT(dataOf(batch), ElementsAre("a"));
    EXPECT_TRUE(batch.last);
}

}  // namespace
}  // namespace zelrtc::camera
