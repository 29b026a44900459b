#include "media/audio_source.h"

#include <array>
#include <chrono>
#include <cmath>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "media/mulaw.h"

namespace zelrtc::camera {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kPi = 3.14159265358979323846;
constexpr int kToneHz = 440;
constexpr int kToneMs = 800;
constexpr double kTonePeak = 8000.0;
constexpr auto kFrame = std::chrono::milliseconds(kMulawFrameMs);
// When later than this, missed frames are skipped rather than sent in a burst.
constexpr auto kTooLate = std::chrono::milliseconds(200);

int64_t microseconds(Clock::time_point time) {
    return std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count();
}

}  // namespace

std::vector<uint8_t> tonePattern() {
    std::vector<uint8_t> pattern;
    pattern.reserve(kMulawRate);
    for (int i = 0; i < kMulawRate; ++i) {
        const bool isOn = i < kMulawRate * kToneMs / 1000;
        const double sample = isOn ? kTonePeak * std::sin(2.0 * kPi * kToneHz * i / kMulawRate) : 0.0;
        pattern.push_back(mulawEncode(static_cast<int16_t>(std::lround(sample))));
    }
    return pattern;
}

std::vector<uint8_t> readMulawFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<uint8_t> samples{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (samples.size() < kMulawFrameBytes) {
        throw std::runtime_error("the audio file " + path + " cannot be read or is shorter than 20 ms");
    }
    return samples;
}

AudioSource::AudioSource(std::vector<uint8_t> loop, Sink sink) : loop_(std::move(loop)), sink_(std::move(sink)) {
}

AudioSource::~AudioSource() {
    stop();
}

void AudioSource::start() {
    if (thread_.joinable()) {
        return;
    }
    stop_ = false;
    thread_ = std::thread(&AudioSource::run, this);
}

void AudioSource::stop() {
    if (!thread_.joinable()) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
    }
    stopping_.notify_all();
    thread_.join();
}

void AudioSource::run() {
    Clock::time_point due = Clock::now();
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stopping_.wait_until(lock, due, [this] { return stop_; })) {
        if (Clock::now() - due > kTooLate) {
            due = Clock::now();
        }
        lock.unlock();
        handOverNext(microseconds(due));
        lock.lock();
        due += kFrame;
    }
}

void AudioSource::handOverNext(int64_t timeUs) {
    std::array<uint8_t, kMulawFrameBytes> frame{};
    for (uint8_t& sample : frame) {
        sample = loop_[position_];
        position_ = (position_ + 1) % loop_.size();
    }
    sink_({frame.data(), frame.size(), timeUs});
}

}  // namespace zelrtc::camera
