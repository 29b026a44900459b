#include "call/call_keeper.h"

#include <chrono>

#include "process/heap.h"

namespace zelrtc::camera {

namespace {

// Also how often a viewer's sound level is reported.
constexpr auto kPeriod = std::chrono::milliseconds(200);
// Two seconds: by then the last call's threads have ended, too.
constexpr int kRoundsUntilQuiet = 10;

}  // namespace

CallKeeper::CallKeeper(CallRegistry& calls) : calls_(calls), thread_(&CallKeeper::run, this) {
}

CallKeeper::~CallKeeper() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
    }
    stopping_.notify_all();
    thread_.join();
}

void CallKeeper::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stopping_.wait_for(lock, kPeriod, [this] { return stop_; })) {
        lock.unlock();
        lookAfterAll();
        lock.lock();
    }
}

void CallKeeper::lookAfterAll() {
    const auto calls = calls_.all();
    for (const auto& call : calls) {
        lookAfter(*call);
    }
    roundsWithoutCall_ = calls.empty() ? roundsWithoutCall_ + 1 : 0;
    if (roundsWithoutCall_ == kRoundsUntilQuiet) {
        returnFreeMemory();
    }
}

void CallKeeper::lookAfter(Call& call) {
    call.recordTalkBack();
    if (const auto reason = call.reasonToEnd()) {
        calls_.endIfUp(call.id(), *reason);  // unless the viewer's own request was faster
    }
}

}  // namespace zelrtc::camera
