/**
 * @file null_sdk.h
 * An SDK that does nothing, so that a benchmark measures only the session. Every function succeeds at once; the
 * benchmark itself fires the handlers that the session has registered.
 */
#ifndef ZELRTC_BENCH_NULL_SDK_H
#define ZELRTC_BENCH_NULL_SDK_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

namespace nullsdk {

/** Sets what writeFrame returns from now on, on every thread. */
void setWriteStatus(STATUS status);

/** Reports a state to the newest connection, on the calling thread. */
void reportState(RTC_PEER_CONNECTION_STATE state);

/** Reports a local candidate, or null for the end of gathering, to the newest connection. */
void reportCandidate(PCHAR candidateJson);

/** A transceiver for writing without a session. */
PRtcRtpTransceiver videoTransceiver();

}  // namespace nullsdk

#endif
