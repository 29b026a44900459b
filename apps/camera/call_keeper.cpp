#include "call_keeper.h"

#include <chrono>

#include "problem.h"

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
    const auto reason = call.reasonToEnd();
    if (!reason) {
        return;
    }
    try {
        calls_.end(call.id(), *reason);
    } catch (const Problem&) {
        return;  // the viewer's own request was faster
    }
}

}  // namespace camera
