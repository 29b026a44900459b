#include "http/worker_pool.h"

#include <chrono>
#include <thread>
#include <utility>

namespace zelrtc::camera {

namespace {

constexpr size_t kKeptWhenIdle = 2;
constexpr std::chrono::seconds kIdleLimit(2);

}  // namespace

WorkerPool::WorkerPool(size_t most) : most_(most) {
}

WorkerPool::~WorkerPool() {
    std::map<std::thread::id, std::thread> threads;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isShutDown_ = true;
        joinEnded();
        threads.swap(threads_);
    }
    jobArrived_.notify_all();
    for (auto& entry : threads) {
        entry.second.join();
    }
}

void WorkerPool::enqueue(std::function<void()> job) {
    const std::lock_guard<std::mutex> lock(mutex_);
    joinEnded();
    jobs_.push_back(std::move(job));
    if (jobs_.size() > idle_ && threads_.size() < most_) {
        startThread();
    }
    jobArrived_.notify_one();
}

void WorkerPool::startThread() {
    std::thread thread(&WorkerPool::work, this);
    const auto id = thread.get_id();
    threads_.emplace(id, std::move(thread));
}

// These threads have run to their end, so joining does not block.
void WorkerPool::joinEnded() {
    for (std::thread& thread : ended_) {
        thread.join();
    }
    ended_.clear();
}

void WorkerPool::work() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (waitForJob(lock)) {
        const std::function<void()> job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();
        job();
        lock.lock();
    }
    const auto self = threads_.find(std::this_thread::get_id());
    if (self != threads_.end()) {
        ended_.push_back(std::move(self->second));
        threads_.erase(self);
    }
}

// False if this thread should end: at shutdown with no jobs left, or after a long time idle beside other idle ones.
bool WorkerPool::waitForJob(std::unique_lock<std::mutex>& lock) {
    ++idle_;
    const auto wakes = [this] { return !jobs_.empty() || isShutDown_; };
    while (!jobArrived_.wait_for(lock, kIdleLimit, wakes) && idle_ <= kKeptWhenIdle) {
    }
    --idle_;
    return !jobs_.empty();
}

}  // namespace zelrtc::camera
