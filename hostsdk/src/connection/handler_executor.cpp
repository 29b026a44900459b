#include "connection/handler_executor.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace zelrtc::hostsdk {

namespace {

using Clock = std::chrono::steady_clock;

struct Lane {
    std::condition_variable changed;
    std::deque<HandlerExecutor::Task> tasks;
    HandlerExecutor::Task periodic;
    Clock::time_point nextPeriod = Clock::time_point::max();
    std::thread::id thread;
    bool running = false;
    bool stopping = false;  // its task waits in stop()

    // Nothing when it was woken for nothing.
    HandlerExecutor::Task take(std::chrono::milliseconds period) {
        if (Clock::now() >= nextPeriod) {
            nextPeriod = Clock::now() + period;
            return periodic;
        }
        if (tasks.empty()) {
            return nullptr;
        }
        HandlerExecutor::Task task = std::move(tasks.front());
        tasks.pop_front();
        return task;
    }
};

}  // namespace

// Shared with the threads, one of which outlives the executor when its task destroys it.
struct HandlerExecutor::Shared {
    std::mutex mutex;
    std::condition_variable finished;
    std::array<Lane, 2> lanes;
    std::chrono::milliseconds period{};
    bool stopped = false;
};

HandlerExecutor::HandlerExecutor(Task periodic, std::chrono::milliseconds period)
    : shared_(std::make_shared<Shared>()) {
    shared_->period = period;
    shared_->lanes[kTimer].periodic = std::move(periodic);
    shared_->lanes[kTimer].nextPeriod = Clock::now() + period;
    for (size_t lane = 0; lane < threads_.size(); lane++) {
        threads_[lane] = std::thread([shared = shared_, lane] { run(shared, lane); });
    }
}

HandlerExecutor::~HandlerExecutor() {
    stop();
    for (std::thread& thread : threads_) {
        if (thread.get_id() == std::this_thread::get_id()) {
            thread.detach();
        } else {
            thread.join();
        }
    }
}

void HandlerExecutor::post(Task task) {
    post(kTimer, std::move(task));
}

void HandlerExecutor::postIncoming(Task task) {
    post(kListener, std::move(task));
}

void HandlerExecutor::post(size_t lane, Task task) {
    const std::lock_guard<std::mutex> lock(shared_->mutex);
    if (!shared_->stopped) {
        shared_->lanes[lane].tasks.push_back(std::move(task));
        shared_->lanes[lane].changed.notify_one();
    }
}

void HandlerExecutor::stop() {
    std::array<std::deque<Task>, 2> dropped;
    std::unique_lock<std::mutex> lock(shared_->mutex);
    shared_->stopped = true;
    Lane* own = nullptr;
    for (size_t i = 0; i < shared_->lanes.size(); i++) {
        Lane& lane = shared_->lanes[i];
        dropped[i].swap(lane.tasks);
        lane.changed.notify_one();
        own = lane.thread == std::this_thread::get_id() ? &lane : own;
    }
    if (own != nullptr) {
        own->stopping = true;
        shared_->finished.notify_all();
    }
    shared_->finished.wait(lock, [this, own] {
        for (const Lane& lane : shared_->lanes) {
            if (&lane != own && lane.running && !(own != nullptr && lane.stopping)) {
                return false;
            }
        }
        return true;
    });
    if (own != nullptr) {
        own->stopping = false;
    }
}

void HandlerExecutor::run(const std::shared_ptr<Shared>& shared, size_t index) {
    Lane& lane = shared->lanes[index];
    std::unique_lock<std::mutex> lock(shared->mutex);
    lane.thread = std::this_thread::get_id();
    while (!shared->stopped) {
        const auto isDue = [&] { return shared->stopped || !lane.tasks.empty(); };
        if (lane.periodic == nullptr) {
            lane.changed.wait(lock, isDue);
        } else {
            lane.changed.wait_until(lock, lane.nextPeriod, isDue);
        }
        Task task = shared->stopped ? nullptr : lane.take(shared->period);
        if (task == nullptr) {
            continue;
        }
        lane.running = true;
        lock.unlock();
        task();
        task = nullptr;
        lock.lock();
        lane.running = false;
        shared->finished.notify_all();
    }
}

}  // namespace zelrtc::hostsdk
