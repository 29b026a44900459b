/** @file test_switches.h What a test can ask of the stand-in through the environment. Read once for each connection. */
#ifndef HOSTSDK_SRC_CONNECTION_TEST_SWITCHES_H
#define HOSTSDK_SRC_CONNECTION_TEST_SWITCHES_H

#include <chrono>

namespace zelrtc::hostsdk {

// ZELRTC_HOSTSDK_SILENCE_RATE, 1 without it: how many times as fast as time the silence of a far end passes. The SDK's
// 30 s and 15 s stay what they are; only a test need not sit through them.
double silenceRate();

// ZELRTC_HOSTSDK_SLOW_RELEASE_MS, 0 without it: how long the release of a connection that was connected takes. The SDK
// (1.7) waits 2.2 s for an SCTP association there.
std::chrono::milliseconds slowRelease();

}  // namespace zelrtc::hostsdk

#endif
