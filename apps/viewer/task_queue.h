/** @file task_queue.h Hands work from any thread to the one thread that runs a call. */
#ifndef APPS_VIEWER_TASK_QUEUE_H
#define APPS_VIEWER_TASK_QUEUE_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <queue>

namespace zelrtc::viewer {

/** GStreamer's and HTTP's callbacks must not wait for each other, so they post here and return. */
class TaskQueue {
public:
    using Clock = std::chrono::steady_clock;

    /** Queues `task` for the thread in runUntil. Any thread. */
    void post(std::function<void()> task);

    /**
     * Runs tasks until `done` or the deadline; checks `done` after every task and at least ten times a second.
     * @return the last result of `done`
     */
    bool runUntil(Clock::time_point deadline, const std::function<bool()>& done);

private:
    std::function<void()> next(Clock::time_point deadline);

    std::mutex mutex_;
    std::condition_variable posted_;
    std::queue<std::function<void()>> tasks_;
};

}  // namespace zelrtc::viewer

#endif
