#include "task_queue.h"

#include <algorithm>
#include <utility>

namespace zelrtc::viewer {

void TaskQueue::post(std::function<void()> task) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        tasks_.push(std::move(task));
    }
    posted_.notify_one();
}

bool TaskQueue::runUntil(Clock::time_point deadline, const std::function<bool()>& done) {
    while (!done()) {
        if (Clock::now() >= deadline) {
            return false;
        }
        if (const std::function<void()> task = next(deadline)) {
            task();
        }
    }
    return true;
}

std::function<void()> TaskQueue::next(Clock::time_point deadline) {
    // A signal wakes nobody, so the wait has a limit.
    const Clock::time_point wake = std::min(deadline, Clock::now() + std::chrono::milliseconds(100));
    std::unique_lock<std::mutex> lock(mutex_);
    if (!posted_.wait_until(lock, wake, [this] { return !tasks_.empty(); })) {
        return nullptr;
    }
    std::function<void()> task = std::move(tasks_.front());
    tasks_.pop();
    return task;
}

}  // namespace zelrtc::viewer
