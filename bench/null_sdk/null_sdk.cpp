#include "null_sdk.h"

#include <atomic>
#include <cstring>

namespace {

// As long as a typical answer with two media sections and five candidates; the content does not matter.
constexpr UINT32 kAnswerLength = 2400;

struct Handlers {
    UINT64 candidateData;
    RtcOnIceCandidate onCandidate;
    UINT64 stateData;
    RtcOnConnectionStateChange onState;
};

Handlers handlers;
RtcPeerConnection connection;
RtcRtpTransceiver transceivers[2];
int transceiverCount;
std::atomic<STATUS> writeStatus{STATUS_SUCCESS};

VOID printNothing(UINT32, PCHAR, PCHAR, ...) {
}

SIZE_T load(volatile SIZE_T* value) {
    return __atomic_load_n(value, __ATOMIC_SEQ_CST);
}

VOID store(volatile SIZE_T* value, SIZE_T newValue) {
    __atomic_store_n(value, newValue, __ATOMIC_SEQ_CST);
}

}  // namespace

namespace nullsdk {

void setWriteStatus(STATUS status) {
    writeStatus = status;
}

void reportState(RTC_PEER_CONNECTION_STATE state) {
    handlers.onState(handlers.stateData, state);
}

void reportCandidate(PCHAR candidateJson) {
    handlers.onCandidate(handlers.candidateData, candidateJson);
}

PRtcRtpTransceiver videoTransceiver() {
    return &transceivers[0];
}

}  // namespace nullsdk

extern "C" {

logPrintFunc globalCustomLogPrintFn = printNothing;
decltype(globalAtomicLoad) globalAtomicLoad = load;
decltype(globalAtomicStore) globalAtomicStore = store;

STATUS createPeerConnection(PRtcConfiguration, PRtcPeerConnection* ppPeerConnection) {
    transceiverCount = 0;
    *ppPeerConnection = &connection;
    return STATUS_SUCCESS;
}

STATUS closePeerConnection(PRtcPeerConnection) {
    return STATUS_SUCCESS;
}

STATUS freePeerConnection(PRtcPeerConnection* ppPeerConnection) {
    *ppPeerConnection = nullptr;
    return STATUS_SUCCESS;
}

STATUS peerConnectionOnIceCandidate(PRtcPeerConnection, UINT64 customData, RtcOnIceCandidate handler) {
    handlers.candidateData = customData;
    handlers.onCandidate = handler;
    return STATUS_SUCCESS;
}

STATUS peerConnectionOnConnectionStateChange(PRtcPeerConnection, UINT64 customData,
                                             RtcOnConnectionStateChange handler) {
    handlers.stateData = customData;
    handlers.onState = handler;
    return STATUS_SUCCESS;
}

STATUS peerConnectionOnSenderBandwidthEstimation(PRtcPeerConnection, UINT64, RtcOnSenderBandwidthEstimation) {
    return STATUS_SUCCESS;
}

STATUS addSupportedCodec(PRtcPeerConnection, RTC_CODEC) {
    return STATUS_SUCCESS;
}

STATUS addTransceiver(PRtcPeerConnection, PRtcMediaStreamTrack, PRtcRtpTransceiverInit,
                      PRtcRtpTransceiver* ppTransceiver) {
    *ppTransceiver = &transceivers[transceiverCount++ % 2];
    return STATUS_SUCCESS;
}

STATUS transceiverOnFrame(PRtcRtpTransceiver, UINT64, RtcOnFrame) {
    return STATUS_SUCCESS;
}

STATUS transceiverOnBandwidthEstimation(PRtcRtpTransceiver, UINT64, RtcOnBandwidthEstimation) {
    return STATUS_SUCCESS;
}

STATUS deserializeSessionDescriptionInit(PCHAR, UINT32, PRtcSessionDescriptionInit) {
    return STATUS_SUCCESS;
}

STATUS serializeSessionDescriptionInit(PRtcSessionDescriptionInit, PCHAR json, PUINT32 pLength) {
    memset(json, 'a', kAnswerLength);
    json[kAnswerLength] = '\0';
    *pLength = kAnswerLength + 1;
    return STATUS_SUCCESS;
}

STATUS setRemoteDescription(PRtcPeerConnection, PRtcSessionDescriptionInit) {
    return STATUS_SUCCESS;
}

STATUS setLocalDescription(PRtcPeerConnection, PRtcSessionDescriptionInit) {
    return STATUS_SUCCESS;
}

STATUS createAnswer(PRtcPeerConnection, PRtcSessionDescriptionInit) {
    return STATUS_SUCCESS;
}

STATUS peerConnectionGetCurrentLocalDescription(PRtcPeerConnection, PRtcSessionDescriptionInit) {
    return STATUS_SUCCESS;
}

STATUS deserializeRtcIceCandidateInit(PCHAR, UINT32, PRtcIceCandidateInit) {
    return STATUS_SUCCESS;
}

STATUS addIceCandidate(PRtcPeerConnection, PCHAR) {
    return STATUS_SUCCESS;
}

STATUS writeFrame(PRtcRtpTransceiver, PFrame) {
    return writeStatus.load(std::memory_order_relaxed);
}

STATUS rtcPeerConnectionGetMetrics(PRtcPeerConnection, PRtcRtpTransceiver, PRtcStats) {
    return STATUS_SUCCESS;
}

}  // extern "C"
