#include "call_statistics.h"

#include <algorithm>
#include <cmath>

namespace zelrtc::viewer {
namespace {

// An older picture means a misread strip: nothing on the way delays pictures this long.
constexpr uint32_t kOldestBelievableMs = 10000;
// Enough to see whether they follow one another, and on what.
constexpr size_t kUnreadableTimes = 10;

double monotonicMs() {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

void CallStatistics::keepTimeline(const std::string& path) {
    timeline_ = std::make_unique<Timeline>(path);
}

double CallStatistics::now() const {
    return std::chrono::duration<double, std::milli>(Clock::now() - start_).count();
}

void CallStatistics::offerSent() {
    const std::lock_guard<std::mutex> lock(mutex_);
    start_ = Clock::now();
}

void CallStatistics::answered(const std::string& id) {
    const std::lock_guard<std::mutex> lock(mutex_);
    record_.id = id;
    record_.answerMs = now();
}

void CallStatistics::stateReached(const std::string& name) {
    const std::lock_guard<std::mutex> lock(mutex_);
    record_.states.push_back({name, now()});
    if (name == "connected" && !record_.connectedMs) {
        record_.connectedMs = now();
    }
}

void CallStatistics::cameraStateReached(const std::string& name, double ms) {
    const std::lock_guard<std::mutex> lock(mutex_);
    record_.cameraStates.push_back({name, ms});
}

void CallStatistics::streamAsked(int stream) {
    const std::lock_guard<std::mutex> lock(mutex_);
    record_.streamsAsked.push_back({std::to_string(stream), now()});
}

void CallStatistics::frameBegan() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (record_.firstFrameMs) {
        return;
    }
    record_.firstFrameBeganMs = now();
    if (!record_.firstPacketMs) {
        record_.firstPacketMs = record_.firstFrameBeganMs;
    }
}

void CallStatistics::frameReceived(const FrameMeasurement& frame) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const double ms = now();
    if (record_.lastFrameMs) {
        record_.largestGapMs = std::max(record_.largestGapMs, ms - *record_.lastFrameMs);
    } else {
        record_.firstFrameMs = ms;
    }
    record_.lastFrameMs = ms;
    if (record_.sizes.empty() || !(record_.sizes.back().size == frame.size)) {
        record_.sizes.push_back({frame.size, ms, frame.keyFrame});
    }
    ++record_.frames;
    record_.keyFrames += frame.keyFrame ? 1 : 0;
    record_.bytes += frame.bytes;
    if (timeline_) {
        timeline_->frame(monotonicMs(), frame.size.width);
    }
}

void CallStatistics::pictureDecoded(std::optional<uint32_t> clock, uint32_t nowMs) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (record_.decoded++ == 0) {
        record_.firstDecodedMs = now();
    }
    const uint32_t age = clock ? nowMs - *clock : kOldestBelievableMs;
    if (age >= kOldestBelievableMs) {
        noteUnreadable();
        return;
    }
    record_.agesMs.push_back(age);
}

// Under the lock.
void CallStatistics::noteUnreadable() {
    ++record_.unreadable;
    if (record_.unreadableMs.size() < kUnreadableTimes) {
        record_.unreadableMs.push_back(now());
    }
}

void CallStatistics::videoPacketReceived(std::optional<double> delayMs) {
    if (timeline_) {
        timeline_->packet(Timeline::Medium::kPicture, monotonicMs(), delayMs);
    }
}

void CallStatistics::audioPacketReceived(std::optional<double> delayMs) {
    if (timeline_) {
        timeline_->packet(Timeline::Medium::kSound, monotonicMs(), delayMs);
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    ++record_.audioReceived;
}

void CallStatistics::audioPacketSent() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++record_.audioSent;
}

void CallStatistics::audioDecoded(double sumOfSquares, uint64_t samples) {
    const std::lock_guard<std::mutex> lock(mutex_);
    audioSquares_ += sumOfSquares;
    audioSamples_ += samples;
}

void CallStatistics::audioHeard(uint64_t frames) {
    const std::lock_guard<std::mutex> lock(mutex_);
    record_.audioHeard = frames;
}

void CallStatistics::videoPassedOn() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++record_.videoPassedOn;
}

void CallStatistics::audioPassedOn() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++record_.audioPassedOn;
}

void CallStatistics::keyFrameAskedFor() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++record_.keyFramesAsked;
}

void CallStatistics::transportSeen(const CallRecord::Transport& transport) {
    const std::lock_guard<std::mutex> lock(mutex_);
    record_.transport = transport;
}

void CallStatistics::endedByCamera(const std::string& reason) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (record_.ended.empty()) {
        record_.ended = reason;
    }
}

void CallStatistics::failed(const std::string& reason, bool overHttp) {
    const std::lock_guard<std::mutex> lock(mutex_);
    record_.failure = reason;
    record_.httpFailed = overHttp;
}

CallRecord CallStatistics::record() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    CallRecord copy = record_;
    if (audioSamples_ > 0) {
        copy.audioRms = std::sqrt(audioSquares_ / static_cast<double>(audioSamples_));
    }
    return copy;
}

}  // namespace zelrtc::viewer
