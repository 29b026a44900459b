/** @file key_frame_retry.h When to ask for another key frame because the last one did not get through. */
#ifndef APPS_CAMERA_CALL_KEY_FRAME_RETRY_H
#define APPS_CAMERA_CALL_KEY_FRAME_RETRY_H

#include <chrono>

namespace zelrtc::camera {

/**
 * One viewer's wish for key frames. A viewer that never takes one asks ever more seldom, because everybody who watches
 * the stream pays for each. One thread at a time.
 */
class KeyFrameRetry {
public:
    using Clock = std::chrono::steady_clock;

    /**
     * Notes what became of a frame.
     * @param isRefused by the SDK, though the session let it pass
     * @return whether to ask for a key frame now
     */
    bool onWritten(bool isKeyFrame, bool isRefused, Clock::time_point now);

private:
    static constexpr std::chrono::milliseconds kFirstPause{100};
    static constexpr std::chrono::milliseconds kLongestPause{12800};

    bool isWanted_ = false;
    std::chrono::milliseconds pause_ = kFirstPause;
    Clock::time_point next_;
};

}  // namespace zelrtc::camera

#endif
