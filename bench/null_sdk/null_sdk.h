/**
 * @file null_sdk.h
 * An SDK that does nothing, so that what a benchmark measures is the session's own share. Every function succeeds at
 * once; a benchmark fires the handlers that the session has registered by hand.
 */
#ifndef ZELRTC_BENCH_NULL_SDK_H
#define ZELRTC_BENCH_NULL_SDK_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

namespace nullsdk {

/** What the next writeFrame calls of every thread return. */
void setWriteStatus(STATUS status);

/** Reports a state to the connection made last, on the calling thread. */
void reportState(RTC_PEER_CONNECTION_STATE state);

/** Reports a local candidate, or null for the end of gathering, to the connection made last. */
void reportCandidate(PCHAR candidateJson);

/** A transceiver to write to without a session. */
PRtcRtpTransceiver videoTransceiver();

}  // namespace nullsdk

#endif
