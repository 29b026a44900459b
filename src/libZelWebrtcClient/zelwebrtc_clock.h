/** @file zelwebrtc_clock.h The clock behind the durations in the log. */
#ifndef ZELWEBRTC_CLOCK_H
#define ZELWEBRTC_CLOCK_H

/** Milliseconds on a clock that never jumps; only the difference of two readings means anything. Any thread. */
double zelrtcGetTimeMs();

#endif
