/** @file call_keeper.h The thread that looks after calls: records talk-back, ends dead calls, frees memory. */
#ifndef APPS_CAMERA_CALL_CALL_KEEPER_H
#define APPS_CAMERA_CALL_CALL_KEEPER_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

#include "call/call_registry.h"

namespace zelrtc::camera {

/** A session must not be destroyed on the SDK's thread that reports its end, so this thread sees to it. */
class CallKeeper {
public:
    /**
     * Starts the thread.
     * @param tidyUp run on it when calls have been released and, for ten rounds, none has come or gone
     * @param period how often it looks, and so how often a viewer's sound level is reported
     */
    CallKeeper(CallRegistry& calls, std::function<void()> tidyUp,
               std::chrono::milliseconds period = std::chrono::milliseconds(200));

    /** Stops the thread; calls that are up stay up. */
    ~CallKeeper();
    CallKeeper(const CallKeeper&) = delete;
    CallKeeper& operator=(const CallKeeper&) = delete;

private:
    void run();
    void lookAfterAll();
    void lookAfter(Call& call);
    void tidyUpIfDue(size_t held);

    CallRegistry& calls_;
    const std::function<void()> tidyUp_;
    const std::chrono::milliseconds period_;
    std::mutex mutex_;
    std::condition_variable stopping_;
    bool stop_ = false;
    size_t held_ = 0;
    int64_t roundsUnchanged_ = 0;
    bool isUntidy_ = false;
    std::thread thread_;
};

}  // namespace zelrtc::camera

#endif
