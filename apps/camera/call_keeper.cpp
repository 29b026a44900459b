#include "call_keeper.h"

#include <chrono>

namespace camera {

namespace {

// Also how often a viewer's sound level is reported.
constexpr auto PERIOD = std::chrono::milliseconds(200);

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
    while (!stopping_.wait_for(lock, PERIOD, [this] { return stop_; })) {
        lock.unlock();
        for (const auto& call : calls_.all()) {
            lookAfter(*call);
        }
        lock.lock();
    }
}

void CallKeeper::lookAfter(Call& call) {
    call.tick();
    if (const auto reason = call.reasonToEnd()) {
        calls_.endIfUp(call.id(), *reason);  // unless the viewer's own request was faster
    }
}

}  // namespace camera
