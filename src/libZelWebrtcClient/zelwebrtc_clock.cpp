#include "zelwebrtc_clock.h"

#include <time.h>

// The C clock rather than std::chrono: the latter pulls a C++ run-time symbol into the smallest firmware link.
double zelrtcGetTimeMs() {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}
