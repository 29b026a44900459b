/** @file key_frame_pace.h How often a stream makes a key frame because somebody asks for one. */
#ifndef APPS_CAMERA_MEDIA_KEY_FRAME_PACE_H
#define APPS_CAMERA_MEDIA_KEY_FRAME_PACE_H

#include <array>
#include <atomic>
#include <chrono>

namespace zelrtc::camera {

/**
 * Grants key frames to whoever asks, as long as no second holds more than two: a key frame is large, and all viewers of
 * the stream pay for it. Those that the encoder makes by itself count. request from any thread, the rest from one at a
 * time.
 */
class KeyFramePace {
public:
    using Clock = std::chrono::steady_clock;

    /** Asks for one. Stays asked until takeDue grants it; asking again changes nothing. */
    void request() {
        isWanted_ = true;
    }

    /** Whether the encoder is to make one now. Once for all that have asked. */
    bool takeDue(Clock::time_point now);

    /** The encoder has made one, asked or not. */
    void onKeyFrame(Clock::time_point now);

    /** The encoder starts anew, so nobody has seen those of before. */
    void restart() {
        isOutstanding_ = false;
        latest_ = {};
    }

private:
    static constexpr std::chrono::seconds kPeriod{1};

    void note(Clock::time_point now);

    std::atomic<bool> isWanted_{false};
    bool isOutstanding_ = false;               // granted and not made yet
    std::array<Clock::time_point, 2> latest_;  // of the last two, older one first
};

}  // namespace zelrtc::camera

#endif
