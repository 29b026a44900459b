/** @file handler_executor.h The thread on which a connection's handlers run. */
#ifndef HOSTSDK_SRC_CONNECTION_HANDLER_EXECUTOR_H
#define HOSTSDK_SRC_CONNECTION_HANDLER_EXECUTOR_H

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

namespace zelrtc::hostsdk {

// Runs tasks one after another, in the order of their posting, on one thread, and between them a periodic one.
// No lock is held while a task runs.
class HandlerExecutor {
public:
    using Task = std::function<void()>;

    HandlerExecutor(Task periodic, std::chrono::milliseconds period);
    HandlerExecutor(const HandlerExecutor&) = delete;
    HandlerExecutor& operator=(const HandlerExecutor&) = delete;
    HandlerExecutor(HandlerExecutor&&) = delete;
    HandlerExecutor& operator=(HandlerExecutor&&) = delete;
    ~HandlerExecutor();

    // Any thread. Dropped when the executor has stopped.
    void post(Task task);

    // After it has returned no task runs: it waits for the running one, except when that one itself is the caller.
    // Tasks that have not started are dropped.
    void stop();

private:
    struct Queue;

    static void run(const std::shared_ptr<Queue>& queue);

    std::shared_ptr<Queue> queue_;
    std::thread thread_;
};

}  // namespace zelrtc::hostsdk

#endif
