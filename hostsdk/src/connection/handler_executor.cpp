#include "connection/handler_executor.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace zelrtc::hostsdk {

// Shared with the thread, which outlives the executor if a task destroys it.
struct HandlerExecutor::Queue {
    std::mutex mutex;
    std::condition_variable changed;
    std::condition_variable finished;
    std::deque<Task> tasks;
    Task periodic;
    std::chrono::milliseconds period{};
    bool stopped = false;
    bool running = false;
};

HandlerExecutor::HandlerExecutor(Task periodic, std::chrono::milliseconds period) : queue_(std::make_shared<Queue>()) {
    queue_->periodic = std::move(periodic);
    queue_->period = period;
    thread_ = std::thread([queue = queue_] { run(queue); });
}

HandlerExecutor::~HandlerExecutor() {
    stop();
    if (thread_.get_id() == std::this_thread::get_id()) {
        thread_.detach();
    } else {
        thread_.join();
    }
}

void HandlerExecutor::post(Task task) {
    const std::lock_guard<std::mutex> lock(queue_->mutex);
    if (!queue_->stopped) {
        queue_->tasks.push_back(std::move(task));
        queue_->changed.notify_one();
    }
}

void HandlerExecutor::stop() {
    std::deque<Task> dropped;
    std::unique_lock<std::mutex> lock(queue_->mutex);
    queue_->stopped = true;
    dropped.swap(queue_->tasks);
    queue_->changed.notify_one();
    if (thread_.get_id() != std::this_thread::get_id()) {
        queue_->finished.wait(lock, [this] { return !queue_->running; });
    }
}

void HandlerExecutor::run(const std::shared_ptr<Queue>& queue) {
    auto nextPeriod = std::chrono::steady_clock::now() + queue->period;
    std::unique_lock<std::mutex> lock(queue->mutex);
    while (!queue->stopped) {
        queue->changed.wait_until(lock, nextPeriod, [&queue] { return queue->stopped || !queue->tasks.empty(); });
        if (queue->stopped) {
            break;
        }
        Task task = queue->periodic;
        if (std::chrono::steady_clock::now() >= nextPeriod) {
            nextPeriod = std::chrono::steady_clock::now() + queue->period;
        } else if (!queue->tasks.empty()) {
            task = std::move(queue->tasks.front());
            queue->tasks.pop_front();
        } else {
            continue;
        }
        queue->running = true;
        lock.unlock();
        task();
        task = nullptr;
        lock.lock();
        queue->running = false;
        queue->finished.notify_all();
    }
}

}  // namespace zelrtc::hostsdk
