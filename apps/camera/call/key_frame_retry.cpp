#include "call/key_frame_retry.h"

#include <algorithm>

namespace zelrtc::camera {

// A key frame that the SDK refused because its transport was not ready has opened the session's gate all the same.
// Without another one the viewer would see nothing until the next regular key frame.
bool KeyFrameRetry::onWritten(bool isKeyFrame, bool isRefused, Clock::time_point now) {
    if (isKeyFrame) {
        isWanted_ = isRefused;
        pause_ = isRefused ? pause_ : kFirstPause;
    }
    if (!isWanted_ || now < next_) {
        return false;
    }
    next_ = now + pause_;
    pause_ = std::min(2 * pause_, kLongestPause);
    return true;
}

}  // namespace zelrtc::camera
