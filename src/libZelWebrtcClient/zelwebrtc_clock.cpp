#include "zelwebrtc_clock.h"

#include <time.h>

// Not std::chrono, which would pull a C++ runtime symbol into the smallest firmware.
double zelrtcGetTimeMs() {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}
