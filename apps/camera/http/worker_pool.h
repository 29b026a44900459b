/** @file worker_pool.h Threads for handlers: as many as are busy, few when nothing happens. */
#ifndef APPS_CAMERA_HTTP_WORKER_POOL_H
#define APPS_CAMERA_HTTP_WORKER_POOL_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace zelrtc::camera {

/** A bounded pool that grows when jobs wait and shrinks when they do not. Any thread. */
class WorkerPool {
public:
    /** @param most threads; jobs beyond wait for a free one */
    explicit WorkerPool(size_t most);

    /** Waits until all jobs have run. */
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /** Runs a job as soon as a thread is free. @param job throws nothing */
    void enqueue(std::function<void()> job);

private:
    void startThread();
    void work();
    void joinEnded();
    bool waitForJob(std::unique_lock<std::mutex>& lock);

    const size_t most_;
    std::mutex mutex_;
    std::condition_variable jobArrived_;
    std::deque<std::function<void()>> jobs_;
    std::map<std::thread::id, std::thread> threads_;
    std::vector<std::thread> ended_;  // still to be joined
    size_t idle_ = 0;
    bool isShutDown_ = false;
};

}  // namespace zelrtc::camera

#endif
