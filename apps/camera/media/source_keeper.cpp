#include "media/source_keeper.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace zelrtc::camera {

namespace {

constexpr auto kNothingToLookAfter = std::chrono::hours(1);

}  // namespace

SourceKeeper::SourceKeeper(std::vector<RestartPlan> plans, Restart restart, Tell tell)
    : restart_(std::move(restart)),
      tell_(std::move(tell)),
      plans_(std::move(plans)),
      thread_(&SourceKeeper::run, this) {
}

SourceKeeper::~SourceKeeper() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void SourceKeeper::started(int stream) {
    const std::lock_guard<std::mutex> lock(mutex_);
    planOf(stream).started(Clock::now());
    changed_.notify_all();
}

void SourceKeeper::delivered(int stream) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (!planOf(stream).delivered(Clock::now())) {
        return;
    }
    const SourceState state = planOf(stream).state();
    lock.unlock();
    if (state.failures > 0) {
        spdlog::info("video stream {} is back", stream);
        tell_(stream, state);
    }
}

void SourceKeeper::failed(int stream, const std::string& reason) {
    std::unique_lock<std::mutex> lock(mutex_);
    noteFailure(stream, reason, lock);
}

void SourceKeeper::stopped(int stream) {
    const std::lock_guard<std::mutex> lock(mutex_);
    planOf(stream).stopped();
}

void SourceKeeper::complain(int stream, const std::string& complaint) {
    spdlog::warn("video stream {}: {}", stream, complaint);
    const std::lock_guard<std::mutex> lock(mutex_);
    planOf(stream).complain(complaint);
}

std::vector<SourceState> SourceKeeper::states() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<SourceState> states;
    std::transform(plans_.begin(), plans_.end(), std::back_inserter(states),
                   [](const RestartPlan& plan) { return plan.state(); });
    return states;
}

void SourceKeeper::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stop_) {
        for (size_t stream = 0; stream < plans_.size(); ++stream) {
            lookAfter(static_cast<int>(stream), lock);
        }
        if (!stop_) {
            changed_.wait_until(lock, nextLook());
        }
    }
}

void SourceKeeper::lookAfter(int stream, std::unique_lock<std::mutex>& lock) {
    RestartPlan& plan = planOf(stream);
    if (plan.isSilent(Clock::now())) {
        noteFailure(stream, "no picture for " + std::to_string(RestartPlan::kMostSilence.count() / 1000) + " seconds",
                    lock);
    }
    if (!stop_ && plan.isDue(Clock::now())) {
        plan.started(Clock::now());
        lock.unlock();
        restart_(stream);
        lock.lock();
    }
}

void SourceKeeper::noteFailure(int stream, const std::string& reason, std::unique_lock<std::mutex>& lock) {
    const auto pause = planOf(stream).failed(Clock::now(), reason);
    if (!pause) {
        return;
    }
    const SourceState state = planOf(stream).state();
    changed_.notify_all();
    lock.unlock();
    spdlog::error("video stream {} has stopped: {}; it is tried again in {} ms", stream, reason, pause->count());
    tell_(stream, state);
    lock.lock();
}

SourceKeeper::Clock::time_point SourceKeeper::nextLook() const {
    Clock::time_point earliest = Clock::now() + kNothingToLookAfter;
    for (const RestartPlan& plan : plans_) {
        earliest = std::min(earliest, plan.nextLook().value_or(earliest));
    }
    return earliest;
}

RestartPlan& SourceKeeper::planOf(int stream) {
    return plans_.at(static_cast<size_t>(stream));
}

}  // namespace zelrtc::camera
