#include "test_clock.h"

#include <atomic>

#include "zelwebrtc_clock.h"

namespace {

std::atomic<double> timeMs(0.0);

}  // namespace

double zelrtcGetTimeMs() {
    return timeMs.load(std::memory_order_relaxed);
}

namespace zelrtc::test {

void setTimeMs(double now) {
    timeMs.store(now, std::memory_order_relaxed);
}

void advanceTimeMs(double by) {
    setTimeMs(timeMs.load(std::memory_order_relaxed) + by);
}

}  // namespace zelrtc::test
