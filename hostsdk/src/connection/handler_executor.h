/** @file handler_executor.h The threads on which a connection's handlers run. */
#ifndef HOSTSDK_SRC_CONNECTION_HANDLER_EXECUTOR_H
#define HOSTSDK_SRC_CONNECTION_HANDLER_EXECUTOR_H

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <thread>

namespace zelrtc::hostsdk {

// Two threads, as the SDK has them: one for what time brings, one for what the network brings. Each runs its tasks one
// after another, in the order of their posting; the first also runs a periodic one. The two run at the same time. No
// lock is held while a task runs.
class HandlerExecutor {
public:
    using Task = std::function<void()>;

    HandlerExecutor(Task periodic, std::chrono::milliseconds period);
    HandlerExecutor(const HandlerExecutor&) = delete;
    HandlerExecutor& operator=(const HandlerExecutor&) = delete;
    HandlerExecutor(HandlerExecutor&&) = delete;
    HandlerExecutor& operator=(HandlerExecutor&&) = delete;
    ~HandlerExecutor();

    // For the timer thread. Any thread may post; dropped when the executor has stopped.
    void post(Task task);
    // For the listener thread.
    void postIncoming(Task task);

    // After it has returned no task runs: it waits for those that do, except for one that is itself the caller and for
    // one that waits in here as well. Tasks that have not started are dropped.
    void stop();

private:
    struct Shared;
    static constexpr size_t kTimer = 0;
    static constexpr size_t kListener = 1;

    void post(size_t lane, Task task);
    static void run(const std::shared_ptr<Shared>& shared, size_t index);

    std::shared_ptr<Shared> shared_;
    std::array<std::thread, 2> threads_;
};

}  // namespace zelrtc::hostsdk

#endif
