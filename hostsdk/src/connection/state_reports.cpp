#include "connection/state_reports.h"

#include <deque>
#include <mutex>
#include <utility>

namespace zelrtc::hostsdk {

// Shared with the posted reports: one of them may destroy the connection.
struct StateReports::Queue {
    std::weak_ptr<HandlerExecutor> executor;
    Report report;
    std::mutex mutex;
    std::deque<RTC_PEER_CONNECTION_STATE> states;  // the first is posted or being reported
};

StateReports::StateReports(const std::shared_ptr<HandlerExecutor>& executor, Report report)
    : queue_(std::make_shared<Queue>()) {
    queue_->executor = executor;
    queue_->report = std::move(report);
}

void StateReports::add(RTC_PEER_CONNECTION_STATE state) {
    const std::lock_guard<std::mutex> lock(queue_->mutex);
    queue_->states.push_back(state);
    if (queue_->states.size() == 1) {
        postFirst(queue_);
    }
}

// Under the queue's lock.
void StateReports::postFirst(const std::shared_ptr<Queue>& queue) {
    const std::shared_ptr<HandlerExecutor> executor = queue->executor.lock();
    if (executor == nullptr) {
        return;
    }
    const RTC_PEER_CONNECTION_STATE state = queue->states.front();
    const HandlerExecutor::Task task = [queue, state] {
        queue->report(state);
        const std::lock_guard<std::mutex> lock(queue->mutex);
        queue->states.pop_front();
        if (!queue->states.empty()) {
            postFirst(queue);
        }
    };
    if (state == RTC_PEER_CONNECTION_STATE_CONNECTED) {
        executor->postIncoming(task);
    } else {
        executor->post(task);
    }
}

}  // namespace zelrtc::hostsdk
