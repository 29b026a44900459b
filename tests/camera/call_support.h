/** @file call_support.h What tests of calls on the recording SDK share. */
#ifndef TESTS_CAMERA_CALL_SUPPORT_H
#define TESTS_CAMERA_CALL_SUPPORT_H

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

#include "media/media_hub.h"

namespace zelrtc::camera {

constexpr std::chrono::seconds kLimit{10};
constexpr const char* kOffer = R"({"type":"offer","sdp":"v=0"})";

/** Holds the threads that pass it until it is opened. They give up at the limit, so that no test hangs. */
class Gate {
public:
    explicit Gate(size_t opensAt = SIZE_MAX) : opensAt_(opensAt) {
    }

    void pass() {
        std::unique_lock<std::mutex> lock(mutex_);
        most_ = std::max(most_, ++inside_);
        changed_.notify_all();
        changed_.wait_for(lock, kLimit, [this] { return isOpen_ || most_ >= opensAt_; });
        --inside_;
    }

    /** Waits until this many are held at the same time. */
    bool hasHeld(size_t count, std::chrono::milliseconds limit = kLimit) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, limit, [&] { return most_ >= count; });
    }

    size_t holds() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return inside_;
    }

    void open() {
        const std::lock_guard<std::mutex> lock(mutex_);
        isOpen_ = true;
        changed_.notify_all();
    }

private:
    const size_t opensAt_;
    std::mutex mutex_;
    std::condition_variable changed_;
    size_t inside_ = 0;
    size_t most_ = 0;
    bool isOpen_ = false;
};

inline bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kLimit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

inline std::array<VideoInput, kVideoStreams> streamsWithoutFrames() {
    initVideo();
    std::array<VideoInput, kVideoStreams> streams;
    streams.fill({VideoInput::Kind::kPipeline, "appsrc is-live=true"});
    return streams;
}

}  // namespace zelrtc::camera

#endif
