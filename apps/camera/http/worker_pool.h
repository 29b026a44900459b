/** @file worker_pool.h Threads for HTTP connections: grows with the load, shrinks when idle. */
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

#include "http/http_library.h"

namespace zelrtc::camera {

/**
 * Each connection holds a thread for as long as it lasts, and event streams last as long as their calls: a pool of
 * fixed size would be too large for a quiet camera or too small for a busy one.
 */
class WorkerPool : public httplib::TaskQueue {
public:
    /** @param most upper limit of threads; further connections wait for a free one */
    explicit WorkerPool(size_t most);
    ~WorkerPool() override = default;

    void enqueue(std::function<void()> job) override;

    /** Waits until all jobs have run and all threads have ended. */
    void shutdown() override;

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
