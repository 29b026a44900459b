#include "media/real_time.h"

#include <algorithm>

#include "media/mulaw.h"

namespace zelrtc::camera {

bool RealTime::admit(size_t samples, Clock::time_point now) {
    const auto from = std::max(filledUntil_, now - kMostAtOnce);
    const auto until = from + std::chrono::microseconds(samples * std::micro::den / kMulawRate);
    if (until > now) {
        return false;
    }
    filledUntil_ = until;
    return true;
}

}  // namespace zelrtc::camera
