// The thread on which a connection's handlers run.
#ifndef HOSTSDK_SRC_CONNECTION_HANDLER_EXECUTOR_H
#define HOSTSDK_SRC_CONNECTION_HANDLER_EXECUTOR_H

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

namespace zelrtc::hostsdk {

// Runs tasks on one thread in the order in which they were posted, and a periodic task between them.
// Holds no lock while a task runs.
class HandlerExecutor {
public:
    using Task = std::function<void()>;

    HandlerExecutor(Task periodic, std::chrono::milliseconds period);
    HandlerExecutor(const HandlerExecutor&) = delete;
    HandlerExecutor& operator=(const HandlerExecutor&) = delete;
    HandlerExecutor(HandlerExecutor&&) = delete;
    HandlerExecutor& operator=(HandlerExecutor&&) = delete;
    ~HandlerExecutor();

    // Any thread. Drops the task if the executor has stopped.
    void post(Task task);

    // Waits for the running task, unless called from inside it, and drops the rest. No task runs after it returns.
    void stop();

private:
    struct Queue;

    static void run(const std::shared_ptr<Queue>& queue);

    std::shared_ptr<Queue> queue_;
    std::thread thread_;
};

}  // namespace zelrtc::hostsdk

#endif
