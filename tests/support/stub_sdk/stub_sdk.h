/**
 * @file stub_sdk.h A WebRTC SDK that connects nothing: every call succeeds at once, and the handlers that a session
 * registered can be fired by hand. It compiles against whatever SDK headers it is given. Its calls cost next to nothing
 * in time and stack, so that what is measured above it is the session's own share.
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
    /** The video transceiver's, then the audio transceiver's. */
    RtcOnFrame onFrame[2];
    RtcOnBandwidthEstimation onBandwidth[2];
} StubHandlers;

extern StubHandlers stubHandlers;

/** Length of each answer in characters; short unless the caller needs a realistic one. */
extern UINT32 stubAnswerLength;

/** A transceiver to write to without a session. */
PRtcRtpTransceiver stubVideoTransceiver(VOID);

#ifdef __cplusplus
}
#endif

#endif
