#include "connection/handler_executor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <vector>

namespace zelrtc::test {

using zelrtc::hostsdk::HandlerExecutor;
using namespace std::chrono_literals;

namespace {

constexpr auto kNever = 1h;
constexpr auto kDeadline = 20s;

void doNothing() {
}

}  // namespace

TEST(HandlerExecutor, runsTasksInTheirOrderOnOneThread) {
    HandlerExecutor executor(doNothing, kNever);
    std::vector<int> order;
    std::vector<std::thread::id> threads;
    std::promise<void> done;
    for (int i = 0; i < 100; i++) {
        executor.post([&, i] {
            order.push_back(i);
            threads.push_back(std::this_thread::get_id());
        });
    }
    executor.post([&] { done.set_value(); });
    ASSERT_EQ(done.get_future().wait_for(kDeadline), std::future_status::ready);
    for (int i = 0; i < 100; i++) {
        EXPECT_EQ(order[static_cast<size_t>(i)], i);
        EXPECT_EQ(threads[static_cast<size_t>(i)], threads[0]);
    }
    EXPECT_NE(threads[0], std::this_thread::get_id());
}

TEST(HandlerExecutor, runsThePeriodicTaskBetweenOthers) {
    std::promise<void> third;
    int count = 0;
    HandlerExecutor executor(
        [&] {
            if (++count == 3) {
                third.set_value();
            }
        },
        1ms);
    EXPECT_EQ(third.get_future().wait_for(kDeadline), std::future_status::ready);
    executor.stop();
}

TEST(HandlerExecutor, waitsForTheRunningTaskWhenItStops) {
    HandlerExecutor executor(doNothing, kNever);
    std::promise<void> started;
    std::promise<void> release;
    std::atomic<bool> finished{false};
    executor.post([&] {
        started.set_value();
        release.get_future().wait();
        finished = true;
    });
    started.get_future().wait();
    auto stopping = std::async(std::launch::async, [&] {
        executor.stop();
        return finished.load();
    });
    EXPECT_EQ(stopping.wait_for(50ms), std::future_status::timeout);
    release.set_value();
    EXPECT_TRUE(stopping.get());
}

TEST(HandlerExecutor, dropsWhatHasNotStartedWhenItStops) {
    std::atomic<int> late{0};
    {
        HandlerExecutor executor(doNothing, kNever);
        std::promise<void> queued;
        executor.post([&] {
            queued.get_future().wait();
            executor.stop();
        });
        executor.post([&] { late++; });
        queued.set_value();
        executor.stop();
        executor.post([&] { late++; });
    }
    EXPECT_EQ(late, 0);
}

TEST(HandlerExecutor, runsIncomingTasksBesideTheOthers) {
    HandlerExecutor executor(doNothing, kNever);
    std::promise<std::thread::id> timer;
    std::promise<std::thread::id> listener;
    std::promise<void> bothRun;
    const std::shared_future<void> wait = bothRun.get_future().share();
    executor.post([&] {
        timer.set_value(std::this_thread::get_id());
        wait.wait();
    });
    executor.postIncoming([&] {
        listener.set_value(std::this_thread::get_id());
        wait.wait();
    });
    auto timerThread = timer.get_future();
    auto listenerThread = listener.get_future();
    ASSERT_EQ(timerThread.wait_for(kDeadline), std::future_status::ready);
    ASSERT_EQ(listenerThread.wait_for(kDeadline), std::future_status::ready);
    EXPECT_NE(timerThread.get(), listenerThread.get());
    bothRun.set_value();
    executor.stop();
}

TEST(HandlerExecutor, waitsForTheOtherThreadWhenATaskStopsIt) {
    HandlerExecutor executor(doNothing, kNever);
    std::promise<void> started;
    std::promise<void> release;
    std::promise<bool> stopped;
    std::atomic<bool> finished{false};
    executor.postIncoming([&] {
        started.set_value();
        release.get_future().wait();
        finished = true;
    });
    started.get_future().wait();
    executor.post([&] {
        executor.stop();
        stopped.set_value(finished);
    });
    auto result = stopped.get_future();
    EXPECT_EQ(result.wait_for(50ms), std::future_status::timeout);
    release.set_value();
    EXPECT_TRUE(result.get());
}

TEST(HandlerExecutor, canBeStoppedFromInsideATaskOfEitherThreadAtOnce) {
    HandlerExecutor executor(doNothing, kNever);
    std::promise<void> timer;
    std::promise<void> listener;
    std::atomic<int> running{0};
    const auto stopTogether = [&](std::promise<void>* done) {
        running++;
        while (running < 2) {
            std::this_thread::yield();
        }
        executor.stop();
        done->set_value();
    };
    executor.post([&] { stopTogether(&timer); });
    executor.postIncoming([&] { stopTogether(&listener); });
    EXPECT_EQ(timer.get_future().wait_for(kDeadline), std::future_status::ready);
    EXPECT_EQ(listener.get_future().wait_for(kDeadline), std::future_status::ready);
}

TEST(HandlerExecutor, canBeStoppedFromInsideATask) {
    HandlerExecutor executor(doNothing, kNever);
    std::promise<void> done;
    executor.post([&] {
        executor.stop();
        done.set_value();
    });
    EXPECT_EQ(done.get_future().wait_for(kDeadline), std::future_status::ready);
}

TEST(HandlerExecutor, canBeDestroyedFromInsideATask) {
    auto* const executor = new HandlerExecutor(doNothing, kNever);
    std::promise<void> done;
    executor->post([&] {
        delete executor;
        done.set_value();
    });
    EXPECT_EQ(done.get_future().wait_for(kDeadline), std::future_status::ready);
}

}  // namespace zelrtc::test
