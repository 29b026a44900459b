/**
 * A WebRTC SDK that connects nothing: every call succeeds, and what a session registered can be fired by hand. It
 * compiles against whatever SDK headers it is given, and keeps its own stack frames small, so that a stack measured
 * above it is the session's.
 */
#ifndef TESTS_SUPPORT_STUB_SDK_STUB_SDK_H
#define TESTS_SUPPORT_STUB_SDK_STUB_SDK_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#ifdef __cplusplus
extern "C" {
#endif

/** What the last session registered. */
typedef struct {
    UINT64 customData;
    RtcOnIceCandidate onIceCandidate;
    RtcOnConnectionStateChange onStateChange;
    RtcOnSenderBandwidthEstimation onSenderBandwidth;
    /** First the video transceiver's, then the audio transceiver's. */
    RtcOnFrame onFrame[2];
    RtcOnBandwidthEstimation onBandwidth[2];
} StubHandlers;

extern StubHandlers stubHandlers;

#ifdef __cplusplus
}
#endif

#endif
