#include "call/call_keeper.h"

#include <chrono>

#include "process/heap.h"

namespace zelrtc::camera {

namespace {

// The viewer's sound level is reported at this pace, too.
constexpr auto kPeriod = std::chrono::milliseconds(200);
// Two seconds: the last call's threads have ended by then.
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
    call.tick();
    if (const auto reason = call.reasonToEnd()) {
        calls_.endIfUp(call.id(), *reason);  // unless the viewer's own request came first
    }
}

}  // namespace zelrtc::camera
