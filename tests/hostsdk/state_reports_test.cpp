#include "connection/state_reports.h"

#include <gtest/gtest.h>

#include <future>
#include <vector>

namespace zelrtc::test {

using zelrtc::hostsdk::HandlerExecutor;
using zelrtc::hostsdk::StateReports;
using namespace std::chrono_literals;

namespace {

constexpr auto kReportDeadline = 20s;

class ReportedState : public testing::Test {
protected:
    std::thread::id threadOf(const std::function<void(HandlerExecutor::Task)>& post) {
        std::promise<std::thread::id> thread;
        post([&] { thread.set_value(std::this_thread::get_id()); });
        return thread.get_future().get();
    }

    std::shared_ptr<HandlerExecutor> executor = std::make_shared<HandlerExecutor>([] {}, 1h);
};

}  // namespace

TEST_F(ReportedState, isConnectedOnTheListenerThreadAndAnyOtherOnTheTimerThread) {
    std::vector<std::thread::id> threads;
    std::promise<void> done;
    StateReports reports(executor, [&](RTC_PEER_CONNECTION_STATE state) {
        threads.push_back(std::this_thread::get_id());
        if (state == RTC_PEER_CONNECTION_STATE_CLOSED) {
            done.set_value();
        }
    });
    reports.add(RTC_PEER_CONNECTION_STATE_CONNECTING);
    reports.add(RTC_PEER_CONNECTION_STATE_CONNECTED);
    reports.add(RTC_PEER_CONNECTION_STATE_DISCONNECTED);
    reports.add(RTC_PEER_CONNECTION_STATE_CLOSED);
    ASSERT_EQ(done.get_future().wait_for(kReportDeadline), std::future_status::ready);
    const auto timer = threadOf([&](HandlerExecutor::Task task) { executor->post(std::move(task)); });
    const auto listener = threadOf([&](HandlerExecutor::Task task) { executor->postIncoming(std::move(task)); });
    EXPECT_EQ(threads, (std::vector<std::thread::id>{timer, listener, timer, timer}));
}

TEST_F(ReportedState, waitsForTheReportOfTheStateBefore) {
    std::promise<void> connected;
    std::promise<void> release;
    std::promise<void> closed;
    StateReports reports(executor, [&](RTC_PEER_CONNECTION_STATE state) {
        if (state == RTC_PEER_CONNECTION_STATE_CONNECTED) {
            connected.set_value();
            release.get_future().wait();
        } else {
            closed.set_value();
        }
    });
    reports.add(RTC_PEER_CONNECTION_STATE_CONNECTED);
    ASSERT_EQ(connected.get_future().wait_for(kReportDeadline), std::future_status::ready);
    reports.add(RTC_PEER_CONNECTION_STATE_CLOSED);
    // Meanwhile the timer thread runs other tasks.
    threadOf([&](HandlerExecutor::Task task) { executor->post(std::move(task)); });
    auto end = closed.get_future();
    EXPECT_EQ(end.wait_for(50ms), std::future_status::timeout);
    release.set_value();
    EXPECT_EQ(end.wait_for(kReportDeadline), std::future_status::ready);
    executor->stop();
}

TEST_F(ReportedState, mayDestroyItsOwnReports) {
    std::promise<void> done;
    std::unique_ptr<StateReports> reports;
    reports = std::make_unique<StateReports>(executor, [&](RTC_PEER_CONNECTION_STATE) {
        reports.reset();
        done.set_value();
    });
    reports->add(RTC_PEER_CONNECTION_STATE_CONNECTING);
    EXPECT_EQ(done.get_future().wait_for(kReportDeadline), std::future_status::ready);
    executor->stop();
}

}  // namespace zelrtc::test
