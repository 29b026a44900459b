#include "timeline.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace zelrtc::viewer {
namespace {

using nlohmann::ordered_json;

constexpr double kMsPerSecond = 1000;

ordered_json delayAsJson(const std::optional<double>& value) {
    return value ? ordered_json(*value) : ordered_json(nullptr);
}

}  // namespace

Timeline::Timeline(const std::string& path) : out_(path, std::ios::trunc) {
    if (!out_) {
        throw std::runtime_error("cannot write " + path);
    }
}

Timeline::~Timeline() {
    write();
}

void Timeline::frame(double nowMs, int width) {
    const std::lock_guard<std::mutex> lock(mutex_);
    enter(nowMs);
    ++second_->frames;
    second_->width = width;
    const double gapMs = nowMs - lastFrameMs_.value_or(nowMs);
    if (gapMs > second_->longestGapMs) {
        second_->longestGapMs = gapMs;
        second_->gapEndedMs = nowMs;
    }
    lastFrameMs_ = nowMs;
}

void Timeline::packet(Medium medium, double nowMs, std::optional<double> delayMs) {
    const std::lock_guard<std::mutex> lock(mutex_);
    enter(nowMs);
    const bool isSound = medium == Medium::kSound;
    second_->soundPackets += isSound ? 1 : 0;
    auto& least = isSound ? second_->soundDelayMs : second_->pictureDelayMs;
    if (delayMs) {
        least = std::min(least.value_or(*delayMs), *delayMs);
    }
}

void Timeline::enter(double nowMs) {
    const auto number = static_cast<int64_t>(nowMs / kMsPerSecond);
    if (second_ && second_->number == number) {
        return;
    }
    write();
    second_ = Second{};
    second_->number = number;
}

void Timeline::write() {
    if (!second_) {
        return;
    }
    const ordered_json line = {{"second", second_->number},
                               {"frames", second_->frames},
                               {"width", second_->width},
                               {"longestGapMs", second_->longestGapMs},
                               {"gapEnded", second_->gapEndedMs / kMsPerSecond},
                               {"soundPackets", second_->soundPackets},
                               {"pictureDelayMs", delayAsJson(second_->pictureDelayMs)},
                               {"soundDelayMs", delayAsJson(second_->soundDelayMs)}};
    out_ << line.dump() << std::endl;
}

}  // namespace zelrtc::viewer
