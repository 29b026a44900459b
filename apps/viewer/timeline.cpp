#include "timeline.h"

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <stdexcept>

namespace zelrtc::viewer {
namespace {

constexpr double kMsPerSecond = 1000;
constexpr int kDigits = 3;

void put(std::ostream& out, const char* name, const std::optional<double>& value) {
    out << ", \"" << name << "\": ";
    if (value) {
        out << *value;
    } else {
        out << "null";
    }
}

}  // namespace

Timeline::Timeline(const std::string& path) : out_(path, std::ios::trunc) {
    if (!out_) {
        throw std::runtime_error("cannot write " + path);
    }
    out_ << std::fixed << std::setprecision(kDigits);
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
    if (delayMs) {
        auto& least = isSound ? second_->soundDelayMs : second_->pictureDelayMs;
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
    out_ << R"({"second": )" << second_->number << R"(, "frames": )" << second_->frames << R"(, "width": )"
         << second_->width << R"(, "soundPackets": )" << second_->soundPackets;
    put(out_, "longestGapMs", second_->longestGapMs);
    put(out_, "gapEnded", second_->gapEndedMs / kMsPerSecond);
    put(out_, "pictureDelayMs", second_->pictureDelayMs);
    put(out_, "soundDelayMs", second_->soundDelayMs);
    out_ << '}' << std::endl;
}

}  // namespace zelrtc::viewer
