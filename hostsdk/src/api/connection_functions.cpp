// The C functions of a process, its connections and their transceivers.
#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include "api/guard.h"
#include "connection/peer_connection.h"
#include "engine/runtime.h"

using zelrtc::hostsdk::given;
using zelrtc::hostsdk::guarded;
using zelrtc::hostsdk::PeerConnection;
using zelrtc::hostsdk::Transceiver;

namespace {

PeerConnection* implementation(PRtcPeerConnection pPeerConnection) {
    return static_cast<PeerConnection*>(pPeerConnection);
}

Transceiver* implementation(PRtcRtpTransceiver pTransceiver) {
    return static_cast<Transceiver*>(pTransceiver);
}

STATUS codecStatus(RTC_CODEC codec) {
    const bool isSupported =
        codec == RTC_CODEC_H264_PROFILE_42E01F_LEVEL_ASYMMETRY_ALLOWED_PACKETIZATION_MODE || codec == RTC_CODEC_MULAW;
    return isSupported ? STATUS_SUCCESS : STATUS_NOT_IMPLEMENTED;
}

}  // namespace

STATUS initKvsWebRtc(VOID) {
    return guarded([] { return zelrtc::hostsdk::startRuntime() ? STATUS_SUCCESS : STATUS_INVALID_OPERATION; });
}

STATUS deinitKvsWebRtc(VOID) {
    return STATUS_SUCCESS;
}

STATUS createPeerConnection(PRtcConfiguration pConfiguration, PRtcPeerConnection* ppPeerConnection) {
    return guarded(given(pConfiguration, ppPeerConnection), [=] {
        if (!zelrtc::hostsdk::startRuntime()) {
            return STATUS_INVALID_OPERATION;
        }
        std::unique_ptr<PeerConnection> connection = PeerConnection::create(*pConfiguration);
        if (connection == nullptr) {
            return STATUS_INVALID_OPERATION;
        }
        *ppPeerConnection = connection.release();
        return STATUS_SUCCESS;
    });
}

STATUS closePeerConnection(PRtcPeerConnection pPeerConnection) {
    return guarded(given(pPeerConnection), [=] { implementation(pPeerConnection)->close(); });
}

STATUS freePeerConnection(PRtcPeerConnection* ppPeerConnection) {
    return guarded(given(ppPeerConnection), [=] {
        delete implementation(*ppPeerConnection);
        *ppPeerConnection = nullptr;
    });
}

STATUS peerConnectionOnIceCandidate(PRtcPeerConnection pPeerConnection, UINT64 customData, RtcOnIceCandidate handler) {
    return guarded(given(pPeerConnection, handler),
                   [=] { implementation(pPeerConnection)->setCandidateHandler(customData, handler); });
}

STATUS peerConnectionOnConnectionStateChange(PRtcPeerConnection pPeerConnection, UINT64 customData,
                                             RtcOnConnectionStateChange handler) {
    return guarded(given(pPeerConnection, handler),
                   [=] { implementation(pPeerConnection)->setStateHandler(customData, handler); });
}

// Accepted but never called: webrtcbin does not provide the figures that the handler expects.
STATUS peerConnectionOnSenderBandwidthEstimation(PRtcPeerConnection pPeerConnection, UINT64,
                                                 RtcOnSenderBandwidthEstimation handler) {
    return given(pPeerConnection, handler) ? STATUS_SUCCESS : STATUS_NULL_ARG;
}

STATUS addSupportedCodec(PRtcPeerConnection pPeerConnection, RTC_CODEC codec) {
    return guarded(given(pPeerConnection), [=] { return codecStatus(codec); });
}

STATUS addTransceiver(PRtcPeerConnection pPeerConnection, PRtcMediaStreamTrack pTrack, PRtcRtpTransceiverInit pInit,
                      PRtcRtpTransceiver* ppTransceiver) {
    return guarded(given(pPeerConnection, pTrack, ppTransceiver), [=] {
        const STATUS status = codecStatus(pTrack->codec);
        if (status != STATUS_SUCCESS) {
            return status;
        }
        const auto direction = pInit == nullptr ? RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV : pInit->direction;
        return implementation(pPeerConnection)->addTransceiver(*pTrack, direction, ppTransceiver);
    });
}

STATUS transceiverOnFrame(PRtcRtpTransceiver pTransceiver, UINT64 customData, RtcOnFrame handler) {
    return guarded(given(pTransceiver, handler),
                   [=] { implementation(pTransceiver)->setFrameHandler(customData, handler); });
}

STATUS transceiverOnBandwidthEstimation(PRtcRtpTransceiver pTransceiver, UINT64 customData,
                                        RtcOnBandwidthEstimation handler) {
    return guarded(given(pTransceiver, handler),
                   [=] { implementation(pTransceiver)->setBandwidthHandler(customData, handler); });
}

STATUS setRemoteDescription(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription) {
    return guarded(given(pPeerConnection, pDescription),
                   [=] { return implementation(pPeerConnection)->setRemoteDescription(*pDescription); });
}

STATUS setLocalDescription(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription) {
    return guarded(given(pPeerConnection, pDescription),
                   [=] { return implementation(pPeerConnection)->setLocalDescription(*pDescription); });
}

STATUS createAnswer(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription) {
    return guarded(given(pPeerConnection, pDescription),
                   [=] { return implementation(pPeerConnection)->createAnswer(pDescription); });
}

STATUS peerConnectionGetCurrentLocalDescription(PRtcPeerConnection pPeerConnection,
                                                PRtcSessionDescriptionInit pDescription) {
    return guarded(given(pPeerConnection, pDescription),
                   [=] { return implementation(pPeerConnection)->currentLocalDescription(pDescription); });
}

STATUS addIceCandidate(PRtcPeerConnection pPeerConnection, PCHAR candidate) {
    return guarded(given(pPeerConnection, candidate),
                   [=] { return implementation(pPeerConnection)->addIceCandidate(candidate); });
}

// As with the SDK, a null argument is a crash.
STATUS writeFrame(PRtcRtpTransceiver pTransceiver, PFrame pFrame) {
    return guarded([=] { return implementation(pTransceiver)->write(*pFrame); });
}

STATUS rtcPeerConnectionGetMetrics(PRtcPeerConnection pPeerConnection, PRtcRtpTransceiver, PRtcStats pStats) {
    return guarded(given(pPeerConnection, pStats), [=] { return implementation(pPeerConnection)->metrics(pStats); });
}
