/** @file call_keeper.h The thread that looks after calls: records talk-back, ends dead calls, frees memory. */
#ifndef APPS_CAMERA_CALL_CALL_KEEPER_H
#define APPS_CAMERA_CALL_CALL_KEEPER_H

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "call/call_registry.h"

namespace zelrtc::camera {

/** A session must not be destroyed on the SDK thread that reports its end, so this thread destroys it. */
class CallKeeper {
public:
    /** Starts the thread. */
    explicit CallKeeper(CallRegistry& calls);

    /** Stops the thread; calls that are up stay up. */
    ~CallKeeper();
    CallKeeper(const CallKeeper&) = delete;
    CallKeeper& operator=(const CallKeeper&) = delete;

private:
    void run();
    void lookAfterAll();
    void lookAfter(Call& call);

    CallRegistry& calls_;
    std::mutex mutex_;
    std::condition_variable stopping_;
    bool stop_ = false;
    int64_t roundsWithoutCall_ = 0;
    std::thread thread_;
};

}  // namespace zelrtc::camera

#endif
