// The library's own clock; every other test of the session replaces it with the test clock.
#include "zelwebrtc_clock.h"

#include <gtest/gtest.h>
#include <time.h>

#include <chrono>

namespace {

double monotonicMs() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

TEST(Clock, CountsMillisecondsOfTheMonotonicClock) {
    const double before = monotonicMs();
    const double now = zelrtcGetTimeMs();
    const double after = monotonicMs();
    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
}

TEST(Clock, NeverJumpsBack) {
    double last = zelrtcGetTimeMs();
    for (int i = 0; i < 100000; ++i) {
        const double now = zelrtcGetTimeMs();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST(Clock, TellsTimesApartThatAreFarLessThanAMillisecondFromEachOther) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    const double start = zelrtcGetTimeMs();
    double difference = 0.0;
    while (difference == 0.0 && std::chrono::steady_clock::now() < deadline) {
        difference = zelrtcGetTimeMs() - start;
    }
    EXPECT_GT(difference, 0.0);
}

}  // namespace
