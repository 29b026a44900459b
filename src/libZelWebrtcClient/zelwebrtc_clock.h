/** @file zelwebrtc_clock.h The library's clock; internal to the library. */
#ifndef ZELWEBRTC_CLOCK_H
#define ZELWEBRTC_CLOCK_H

/** Milliseconds on a monotonic clock; only differences are meaningful. Any thread. */
double zelrtcGetTimeMs();

#endif
