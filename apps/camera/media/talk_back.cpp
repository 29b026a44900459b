#include "media/talk_back.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numeric>
#include <stdexcept>
#include <utility>

#include "media/mulaw.h"

namespace zelrtc::camera {

namespace {

constexpr size_t kMostBytes = static_cast<size_t>(kMulawRate) * 10;
constexpr double kFullScale = 32768.0;
// What the smallest file takes of most disks, so that many short calls count as well.
constexpr uint64_t kFileBytes = 4096;

double rmsOf(const std::vector<int16_t>& samples) {
    const double energy = std::accumulate(samples.begin(), samples.end(), 0.0, [](double sum, int16_t sample) {
        return sum + static_cast<double>(sample) * static_cast<double>(sample);
    });
    return std::sqrt(energy / static_cast<double>(samples.size())) / kFullScale;
}

}  // namespace

TalkBack::TalkBack(std::string wavPath, RecordingBudget& budget) : wavPath_(std::move(wavPath)), budget_(budget) {
}

void TalkBack::push(const void* data, size_t size, RealTime::Clock::time_point now) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!realTime_.admit(size, now)) {
        if (!std::exchange(hasRushed_, true)) {
            spdlog::warn("a viewer talks faster than time passes; what is too much is dropped");
        }
        return;
    }
    ++frames_;
    if (arrived_.size() + size <= kMostBytes) {
        arrived_.insert(arrived_.end(), bytes, bytes + size);
    }
}

std::optional<TalkBack::Level> TalkBack::process() {
    std::vector<uint8_t> codes;
    uint64_t frames = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        codes.swap(arrived_);
        frames = frames_;
    }
    if (codes.empty()) {
        return std::nullopt;
    }
    std::vector<int16_t> samples;
    std::transform(codes.begin(), codes.end(), std::back_inserter(samples), mulawDecode);
    record(samples);
    return Level{rmsOf(samples), frames};
}

void TalkBack::record(const std::vector<int16_t>& samples) {
    if (wavPath_.empty() || (!wav_ && !openRecording())) {
        return;
    }
    if (!budget_.take(samples.size() * sizeof(int16_t))) {
        spdlog::warn("the recording {} ends here: recordings have taken all the room that they may", wav_->path());
        stopRecording();
    } else if (!wav_->append(samples)) {
        spdlog::error("the recording {} ends here: it cannot be written any further", wav_->path());
        stopRecording();
    }
}

bool TalkBack::openRecording() {
    if (!budget_.take(kFileBytes)) {
        spdlog::warn("no recording {}: recordings have taken all the room that they may", wavPath_);
        wavPath_.clear();
        return false;
    }
    try {
        wav_.emplace(wavPath_);
        return true;
    } catch (const std::runtime_error& error) {
        spdlog::error("no recording: {}", error.what());
        wavPath_.clear();
        return false;
    }
}

void TalkBack::stopRecording() {
    wav_.reset();
    wavPath_.clear();
}

}  // namespace zelrtc::camera
