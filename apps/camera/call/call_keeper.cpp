#include "call/call_keeper.h"

#include <utility>

namespace zelrtc::camera {

namespace {

// By then the threads of the calls that ended have ended, too.
constexpr int kRoundsUntilQuiet = 10;

}  // namespace

CallKeeper::CallKeeper(CallRegistry& calls, std::function<void()> tidyUp, std::chrono::milliseconds period)
    : calls_(calls), tidyUp_(std::move(tidyUp)), period_(period), thread_(&CallKeeper::run, this) {
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
    while (!stopping_.wait_for(lock, period_, [this] { return stop_; })) {
        lock.unlock();
        lookAfterAll();
        lock.lock();
    }
}

void CallKeeper::lookAfterAll() {
    for (const auto& call : calls_.all()) {
        lookAfter(*call);
    }
    calls_.thinOut();
    tidyUpIfDue(calls_.held());
}

// Not only after the last call: one that stays would let the heap grow to the most that was ever in use at once.
void CallKeeper::tidyUpIfDue(size_t held) {
    isUntidy_ = isUntidy_ || held < held_;
    roundsUnchanged_ = held == held_ ? roundsUnchanged_ + 1 : 0;
    held_ = held;
    if (isUntidy_ && roundsUnchanged_ == kRoundsUntilQuiet) {
        isUntidy_ = false;
        tidyUp_();
    }
}

void CallKeeper::lookAfter(Call& call) {
    call.recordTalkBack();
    call.applyChoice();
    if (const auto reason = call.reasonToEnd()) {
        calls_.endIfUp(call.id(), *reason);  // unless the viewer's own request came first
    }
}

}  // namespace zelrtc::camera
