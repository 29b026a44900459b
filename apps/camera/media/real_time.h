/** @file real_time.h Keeps a voice to the pace at which people speak. */
#ifndef APPS_CAMERA_MEDIA_REAL_TIME_H
#define APPS_CAMERA_MEDIA_REAL_TIME_H

#include <chrono>
#include <cstddef>

namespace zelrtc::camera {

/**
 * Lets so many samples pass as the time that went by has room for. What a network has held up may come up to two
 * seconds late in one go. One thread at a time.
 */
class RealTime {
public:
    using Clock = std::chrono::steady_clock;

    /** @return false when the samples come faster than they were spoken and are to be dropped, all of them */
    bool admit(size_t samples, Clock::time_point now);

private:
    static constexpr std::chrono::seconds kMostAtOnce{2};

    Clock::time_point filledUntil_;  // what was let through is worth the time up to here
};

}  // namespace zelrtc::camera

#endif
