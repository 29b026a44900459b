/** @file null_sdk.h An SDK that does nothing, so that a benchmark measures the session's own share. */
#ifndef BENCH_NULL_SDK_NULL_SDK_H
#define BENCH_NULL_SDK_NULL_SDK_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

// Every function succeeds at once; a benchmark fires the handlers that the session has registered by hand.
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
