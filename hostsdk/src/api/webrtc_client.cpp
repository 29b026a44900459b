// The C functions: each checks its arguments and lets no exception out.
#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <exception>
#include <new>

#include "connection/peer_connection.h"
#include "engine/runtime.h"
#include "text/log.h"

using zelrtc::hostsdk::PeerConnection;
using zelrtc::hostsdk::Transceiver;

namespace {

template <typename Operation>
STATUS guarded(Operation operation) {
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        return STATUS_NOT_ENOUGH_MEMORY;
    } catch (const std::exception& error) {
        zelrtc::hostsdk::logError(error.what());
        return STATUS_INVALID_OPERATION;
    }
}

PeerConnection* implementation(PRtcPeerConnection pPeerConnection) {
    return static_cast<PeerConnection*>(pPeerConnection);
}

Transceiver* implementation(PRtcRtpTransceiver pTransceiver) {
    return static_cast<Transceiver*>(pTransceiver);
}

bool isSupported(RTC_CODEC codec) {
    return codec == RTC_CODEC_H264_PROFILE_42E01F_LEVEL_ASYMMETRY_ALLOWED_PACKETIZATION_MODE ||
           codec == RTC_CODEC_MULAW;
}

}  // namespace

STATUS initKvsWebRtc(VOID) {
    return guarded([] { return zelrtc::hostsdk::startRuntime() ? STATUS_SUCCESS : STATUS_INVALID_OPERATION; });
}

STATUS deinitKvsWebRtc(VOID) {
    return STATUS_SUCCESS;
}

STATUS createPeerConnection(PRtcConfiguration pConfiguration, PRtcPeerConnection* ppPeerConnection) {
    if (pConfiguration == nullptr || ppPeerConnection == nullptr) {
        return STATUS_NULL_ARG;
    }
    return guarded([=] {
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
    if (pPeerConnection == nullptr) {
        return STATUS_NULL_ARG;
    }
    return guarded([=] {
        implementation(pPeerConnection)->close();
        return STATUS_SUCCESS;
    });
}

STATUS freePeerConnection(PRtcPeerConnection* ppPeerConnection) {
    if (ppPeerConnection == nullptr) {
        return STATUS_NULL_ARG;
    }
    delete implementation(*ppPeerConnection);
    *ppPeerConnection = nullptr;
    return STATUS_SUCCESS;
}

STATUS peerConnectionOnIceCandidate(PRtcPeerConnection pPeerConnection, UINT64 customData, RtcOnIceCandidate handler) {
    if (pPeerConnection == nullptr || handler == nullptr) {
        return STATUS_NULL_ARG;
    }
    implementation(pPeerConnection)->setCandidateHandler(customData, handler);
    return STATUS_SUCCESS;
}

STATUS peerConnectionOnConnectionStateChange(PRtcPeerConnection pPeerConnection, UINT64 customData,
                                             RtcOnConnectionStateChange handler) {
    if (pPeerConnection == nullptr || handler == nullptr) {
        return STATUS_NULL_ARG;
    }
    implementation(pPeerConnection)->setStateHandler(customData, handler);
    return STATUS_SUCCESS;
}

// Accepted but never called: webrtcbin does not provide the figures that the handler expects.
STATUS peerConnectionOnSenderBandwidthEstimation(PRtcPeerConnection pPeerConnection, UINT64,
                                                 RtcOnSenderBandwidthEstimation handler) {
    return pPeerConnection == nullptr || handler == nullptr ? STATUS_NULL_ARG : STATUS_SUCCESS;
}

STATUS addSupportedCodec(PRtcPeerConnection pPeerConnection, RTC_CODEC codec) {
    if (pPeerConnection == nullptr) {
        return STATUS_NULL_ARG;
    }
    return isSupported(codec) ? STATUS_SUCCESS : STATUS_NOT_IMPLEMENTED;
}

STATUS addTransceiver(PRtcPeerConnection pPeerConnection, PRtcMediaStreamTrack pTrack, PRtcRtpTransceiverInit pInit,
                      PRtcRtpTransceiver* ppTransceiver) {
    if (pPeerConnection == nullptr || pTrack == nullptr || ppTransceiver == nullptr) {
        return STATUS_NULL_ARG;
    }
    if (!isSupported(pTrack->codec)) {
        return STATUS_NOT_IMPLEMENTED;
    }
    const RTC_RTP_TRANSCEIVER_DIRECTION direction =
        pInit == nullptr ? RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV : pInit->direction;
    return guarded([=] { return implementation(pPeerConnection)->addTransceiver(*pTrack, direction, ppTransceiver); });
}

STATUS transceiverOnFrame(PRtcRtpTransceiver pTransceiver, UINT64 customData, RtcOnFrame handler) {
    if (pTransceiver == nullptr || handler == nullptr) {
        return STATUS_NULL_ARG;
    }
    implementation(pTransceiver)->setFrameHandler(customData, handler);
    return STATUS_SUCCESS;
}

STATUS transceiverOnBandwidthEstimation(PRtcRtpTransceiver pTransceiver, UINT64 customData,
                                        RtcOnBandwidthEstimation handler) {
    if (pTransceiver == nullptr || handler == nullptr) {
        return STATUS_NULL_ARG;
    }
    implementation(pTransceiver)->setBandwidthHandler(customData, handler);
    return STATUS_SUCCESS;
}

STATUS setRemoteDescription(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription) {
    if (pPeerConnection == nullptr || pDescription == nullptr) {
        return STATUS_NULL_ARG;
    }
    return guarded([=] { return implementation(pPeerConnection)->setRemoteDescription(*pDescription); });
}

STATUS setLocalDescription(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription) {
    if (pPeerConnection == nullptr || pDescription == nullptr) {
        return STATUS_NULL_ARG;
    }
    return guarded([=] { return implementation(pPeerConnection)->setLocalDescription(*pDescription); });
}

STATUS createAnswer(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription) {
    if (pPeerConnection == nullptr || pDescription == nullptr) {
        return STATUS_NULL_ARG;
    }
    return guarded([=] { return implementation(pPeerConnection)->createAnswer(pDescription); });
}

STATUS peerConnectionGetCurrentLocalDescription(PRtcPeerConnection pPeerConnection,
                                                PRtcSessionDescriptionInit pDescription) {
    if (pPeerConnection == nullptr || pDescription == nullptr) {
        return STATUS_NULL_ARG;
    }
    return guarded([=] { return implementation(pPeerConnection)->currentLocalDescription(pDescription); });
}

STATUS addIceCandidate(PRtcPeerConnection pPeerConnection, PCHAR candidate) {
    if (pPeerConnection == nullptr || candidate == nullptr) {
        return STATUS_NULL_ARG;
    }
    return guarded([=] { return implementation(pPeerConnection)->addIceCandidate(candidate); });
}

STATUS writeFrame(PRtcRtpTransceiver pTransceiver, PFrame pFrame) {
    return guarded([=] { return implementation(pTransceiver)->write(*pFrame); });
}

STATUS rtcPeerConnectionGetMetrics(PRtcPeerConnection pPeerConnection, PRtcRtpTransceiver, PRtcStats pStats) {
    if (pPeerConnection == nullptr || pStats == nullptr) {
        return STATUS_NULL_ARG;
    }
    return guarded([=] { return implementation(pPeerConnection)->metrics(pStats); });
}
