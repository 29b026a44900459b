#include <string.h>

#include "stub_sdk.h"

StubHandlers stubHandlers;
UINT32 stubAnswerLength = 32;

static RtcPeerConnection connection;
static RtcRtpTransceiver transceivers[2];
static UINT32 transceiverCount;

static UINT32 indexOf(PRtcRtpTransceiver pTransceiver) {
    return pTransceiver == &transceivers[0] ? 0 : 1;
}

PRtcRtpTransceiver stubVideoTransceiver(VOID) {
    return &transceivers[0];
}

STATUS initKvsWebRtc(VOID) {
    return STATUS_SUCCESS;
}

STATUS deinitKvsWebRtc(VOID) {
    return STATUS_SUCCESS;
}

STATUS createPeerConnection(PRtcConfiguration pConfiguration, PRtcPeerConnection* ppPeerConnection) {
    (void) pConfiguration;
    transceiverCount = 0;
    *ppPeerConnection = &connection;
    return STATUS_SUCCESS;
}

STATUS closePeerConnection(PRtcPeerConnection pPeerConnection) {
    (void) pPeerConnection;
    return STATUS_SUCCESS;
}

STATUS freePeerConnection(PRtcPeerConnection* ppPeerConnection) {
    *ppPeerConnection = NULL;
    return STATUS_SUCCESS;
}

STATUS peerConnectionOnIceCandidate(PRtcPeerConnection pPeerConnection, UINT64 customData, RtcOnIceCandidate handler) {
    (void) pPeerConnection;
    stubHandlers.customData = customData;
    stubHandlers.onIceCandidate = handler;
    return STATUS_SUCCESS;
}

STATUS peerConnectionOnConnectionStateChange(PRtcPeerConnection pPeerConnection, UINT64 customData,
                                             RtcOnConnectionStateChange handler) {
    (void) pPeerConnection;
    stubHandlers.customData = customData;
    stubHandlers.onStateChange = handler;
    return STATUS_SUCCESS;
}

STATUS peerConnectionOnSenderBandwidthEstimation(PRtcPeerConnection pPeerConnection, UINT64 customData,
                                                 RtcOnSenderBandwidthEstimation handler) {
    (void) pPeerConnection;
    stubHandlers.customData = customData;
    stubHandlers.onSenderBandwidth = handler;
    return STATUS_SUCCESS;
}

STATUS addSupportedCodec(PRtcPeerConnection pPeerConnection, RTC_CODEC codec) {
    (void) pPeerConnection;
    (void) codec;
    return STATUS_SUCCESS;
}

STATUS addTransceiver(PRtcPeerConnection pPeerConnection, PRtcMediaStreamTrack pTrack, PRtcRtpTransceiverInit pInit,
                      PRtcRtpTransceiver* ppTransceiver) {
    (void) pPeerConnection;
    (void) pTrack;
    (void) pInit;
    *ppTransceiver = &transceivers[transceiverCount++ % 2];
    return STATUS_SUCCESS;
}

STATUS transceiverOnFrame(PRtcRtpTransceiver pTransceiver, UINT64 customData, RtcOnFrame handler) {
    (void) customData;
    stubHandlers.onFrame[indexOf(pTransceiver)] = handler;
    return STATUS_SUCCESS;
}

STATUS transceiverOnBandwidthEstimation(PRtcRtpTransceiver pTransceiver, UINT64 customData,
                                        RtcOnBandwidthEstimation handler) {
    (void) customData;
    stubHandlers.onBandwidth[indexOf(pTransceiver)] = handler;
    return STATUS_SUCCESS;
}

STATUS deserializeSessionDescriptionInit(PCHAR json, UINT32 length, PRtcSessionDescriptionInit pDescription) {
    (void) json;
    (void) length;
    pDescription->type = SDP_TYPE_OFFER;
    return STATUS_SUCCESS;
}

STATUS serializeSessionDescriptionInit(PRtcSessionDescriptionInit pDescription, PCHAR json, PUINT32 pLength) {
    (void) pDescription;
    if (*pLength <= stubAnswerLength) {
        return STATUS_BUFFER_TOO_SMALL;
    }
    memset(json, 'a', stubAnswerLength);
    json[stubAnswerLength] = '\0';
    *pLength = stubAnswerLength + 1;
    return STATUS_SUCCESS;
}

STATUS setRemoteDescription(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription) {
    (void) pPeerConnection;
    (void) pDescription;
    return STATUS_SUCCESS;
}

STATUS setLocalDescription(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription) {
    (void) pPeerConnection;
    (void) pDescription;
    return STATUS_SUCCESS;
}

STATUS createAnswer(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription) {
    (void) pPeerConnection;
    pDescription->type = SDP_TYPE_ANSWER;
    return STATUS_SUCCESS;
}

STATUS peerConnectionGetCurrentLocalDescription(PRtcPeerConnection pPeerConnection,
                                                PRtcSessionDescriptionInit pDescription) {
    (void) pPeerConnection;
    pDescription->type = SDP_TYPE_ANSWER;
    return STATUS_SUCCESS;
}

STATUS deserializeRtcIceCandidateInit(PCHAR json, UINT32 length, PRtcIceCandidateInit pCandidate) {
    (void) json;
    (void) length;
    pCandidate->candidate[0] = '\0';
    return STATUS_SUCCESS;
}

STATUS addIceCandidate(PRtcPeerConnection pPeerConnection, PCHAR candidate) {
    (void) pPeerConnection;
    (void) candidate;
    return STATUS_SUCCESS;
}

STATUS writeFrame(PRtcRtpTransceiver pTransceiver, PFrame pFrame) {
    (void) pTransceiver;
    (void) pFrame;
    return STATUS_SUCCESS;
}

STATUS rtcPeerConnectionGetMetrics(PRtcPeerConnection pPeerConnection, PRtcRtpTransceiver pTransceiver,
                                   PRtcStats pStats) {
    (void) pPeerConnection;
    (void) pTransceiver;
    memset(&pStats->rtcStatsObject, 0x00, sizeof(pStats->rtcStatsObject));
    return STATUS_SUCCESS;
}
