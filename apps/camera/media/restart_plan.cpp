#include "media/restart_plan.h"

#include <algorithm>

namespace zelrtc::camera {

using Kind = SourceState::Kind;

const char* nameOf(Kind kind) {
    switch (kind) {
        case Kind::kStarting:
            return "starting";
        case Kind::kRunning:
            return "running";
        case Kind::kWaiting:
            return "waiting";
        default:
            return "stopped";
    }
}

void RestartPlan::started(Time now) {
    state_.kind = Kind::kStarting;
    state_.complaint.clear();
    lastSign_ = now;
}

bool RestartPlan::delivered(Time now) {
    if (!isUp()) {
        return false;
    }
    lastSign_ = now;
    const bool isFirst = state_.kind == Kind::kStarting;
    if (isFirst) {
        state_.kind = Kind::kRunning;
        firstPicture_ = now;
    }
    return isFirst;
}

std::optional<std::chrono::milliseconds> RestartPlan::failed(Time now, const std::string& reason) {
    if (!isUp()) {
        return std::nullopt;
    }
    if (state_.kind == Kind::kRunning && now - firstPicture_ >= kRecovered) {
        pause_ = kFirstPause;
    }
    const auto pause = pause_;
    pause_ = std::min(2 * pause_, kLongestPause);
    due_ = now + pause;
    state_.kind = Kind::kWaiting;
    state_.reason = reason;
    ++state_.failures;
    return pause;
}

void RestartPlan::stopped() {
    state_.kind = Kind::kStopped;
    pause_ = kFirstPause;
}

void RestartPlan::complain(const std::string& complaint) {
    state_.complaint = complaint;
}

bool RestartPlan::isSilent(Time now) const {
    return isNeverSilent_ && isUp() && now - lastSign_ >= kMostSilence;
}

bool RestartPlan::isDue(Time now) const {
    return state_.kind == Kind::kWaiting && now >= due_;
}

std::optional<RestartPlan::Time> RestartPlan::nextLook() const {
    if (state_.kind == Kind::kWaiting) {
        return due_;
    }
    return isNeverSilent_ && isUp() ? std::optional(lastSign_ + kMostSilence) : std::nullopt;
}

bool RestartPlan::isUp() const {
    return state_.kind == Kind::kStarting || state_.kind == Kind::kRunning;
}

}  // namespace zelrtc::camera
