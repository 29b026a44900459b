#include "media/key_frame_pace.h"

namespace zelrtc::camera {

bool KeyFramePace::takeDue(Clock::time_point now) {
    if (!isWanted_ || now - latest_.front() < kPeriod) {
        return false;
    }
    isWanted_ = false;
    isOutstanding_ = true;
    note(now);
    return true;
}

void KeyFramePace::onKeyFrame(Clock::time_point now) {
    if (!isOutstanding_) {
        note(now);
    }
    isOutstanding_ = false;
}

void KeyFramePace::note(Clock::time_point now) {
    latest_ = {latest_.back(), now};
}

}  // namespace zelrtc::camera
