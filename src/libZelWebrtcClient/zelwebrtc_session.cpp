#include "zelwebrtc_session.h"

#include <string.h>

#include "zelwebrtc_clock.h"
#include "zelwebrtc_log.h"

using zelrtc::kLogDetail;
using zelrtc::kLogFailure;
using zelrtc::kLogFrame;
using zelrtc::kLogProgress;
using zelrtc::kLogTolerated;

// Keeps the instructions of an unlikely branch off the common path.
#if defined(__GNUC__)
#define ZELRTC_RARELY(condition) __builtin_expect((condition), false)
#else
#define ZELRTC_RARELY(condition) (condition)
#endif

namespace {

// Never in capitals: the SDK defines many macros, and each version adds some.
const size_t kMaxIceServerTextLength = 256;
const UINT32 kMaxSignallingMessageSize = 10240;
const INT32 kCertificateBits = 1024;
const UINT32 kMaxAudioType = 1;
const UINT32 kMaxVideoType = 2;
const UINT64 kSdkTicksPerMicrosecond = 10;
const UINT64 kSdkTicksPerMillisecond = 10000;

const RTC_CODEC kVideoCodec = RTC_CODEC_H264_PROFILE_42E01F_LEVEL_ASYMMETRY_ALLOWED_PACKETIZATION_MODE;
const RTC_CODEC kAudioCodec = RTC_CODEC_MULAW;

// One stream for both tracks, so that players keep picture and sound in sync.
const CHAR kStreamId[] = "myKvsVideoStream";

UINT64 toCustomData(ZelRtcSession* pSession) {
    return static_cast<UINT64>(reinterpret_cast<uintptr_t>(pSession));
}

ZelRtcSession* toSession(UINT64 customData) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the SDK's custom data is an integer word
    return reinterpret_cast<ZelRtcSession*>(static_cast<uintptr_t>(customData));
}

// The SDK takes these texts as writable, but only reads them.
PCHAR toSdkText(const std::string& text) {
    return const_cast<PCHAR>(text.c_str());
}

// Field sizes differ between SDK versions. The record was zeroed, so the text is terminated.
template <size_t kSize>
void copyText(CHAR (&field)[kSize], const char* text) {
    strncpy(field, text, kSize - 1);
}

UINT32 serializeAnswer(PRtcSessionDescriptionInit pDescription, std::string* pAnswerSdp) {
    CHAR buffer[kMaxSignallingMessageSize];
    UINT32 length = kMaxSignallingMessageSize;

    const UINT32 retStatus = serializeSessionDescriptionInit(pDescription, buffer, &length);
    if (retStatus == STATUS_SUCCESS) {
        *pAnswerSdp = buffer;
    }
    return retStatus;
}

UINT32 serializeCurrentLocalDescription(PRtcPeerConnection pPeerConnection, std::string* pAnswerSdp) {
    RtcSessionDescriptionInit answerSessionDescriptionInit;
    memset(&answerSessionDescriptionInit, 0x00, sizeof(answerSessionDescriptionInit));

    UINT32 retStatus = peerConnectionGetCurrentLocalDescription(pPeerConnection, &answerSessionDescriptionInit);
    if (retStatus == STATUS_SUCCESS) {
        retStatus = serializeAnswer(&answerSessionDescriptionInit, pAnswerSdp);
    }
    return retStatus;
}

UINT32 declareCodecs(PRtcPeerConnection pPeerConnection) {
    UINT32 retStatus = addSupportedCodec(pPeerConnection, kVideoCodec);
    if (retStatus == STATUS_SUCCESS) {
        retStatus = addSupportedCodec(pPeerConnection, kAudioCodec);
    }
    return retStatus;
}

void fillTrack(PRtcMediaStreamTrack pTrack, MEDIA_STREAM_TRACK_KIND kind, RTC_CODEC codec, const char* trackId) {
    memset(pTrack, 0x00, sizeof(*pTrack));
    pTrack->kind = kind;
    pTrack->codec = codec;
    copyText(pTrack->trackId, trackId);
    copyText(pTrack->streamId, kStreamId);
}

}  // namespace

// ---- construction ----

ZelRtcSession::ZelRtcSession(ZELRTC_SESSION_ID sid, const ZelRtcSessionConfig& config,
                             ZelWebrtcSessionCallback* callback)
    : sid_(sid),
      callback_(callback),
      sessionConfig_(config),
      pPeerConnection_(nullptr),
      pVideoRtcRtpTransceiver_(nullptr),
      pAudioRtcRtpTransceiver_(nullptr),
      state_(RTC_PEER_CONNECTION_STATE_NONE),
      waitKeyframe_(true),
      offerReceiveTime_(0.0),
      videoType_(1),
      audioType_(1) {
    checkSessionConfig(sid_, &sessionConfig_);

    if (sessionConfig_.isAlexaCall) {
        ZELRTC_LOG(kLogProgress, "session %d, call from alexa", sid_);
    } else {
        ZELRTC_LOG(kLogProgress, "session %d, trickle %d, relayonly %d", sid_, config.trickleIce, config.relayOnly);
    }

    globalAtomicStore(&connected_, FALSE);
    globalAtomicStore(&terminated_, FALSE);
}

void checkSessionConfig(int sid, ZelRtcSessionConfig* pSessionConfig) {
    // The voice service needs none of our servers and does not wait for a complete answer.
    if (pSessionConfig->isAlexaCall) {
        pSessionConfig->trickleIce = true;
        pSessionConfig->relayOnly = false;
        pSessionConfig->iceServers.clear();
        return;
    }

    std::vector<ZelRtcIceServer> iceServers;
    for (const ZelRtcIceServer& server : pSessionConfig->iceServers) {
        if (server.url.size() <= kMaxIceServerTextLength && server.username.size() <= kMaxIceServerTextLength &&
            server.credential.size() <= kMaxIceServerTextLength) {
            iceServers.push_back(server);
        } else {
            ZELRTC_LOG(kLogFailure, "session %d, invalid iceserver. url %s, username %s, credential %s", sid,
                       server.url.c_str(), server.username.c_str(), server.credential.c_str());
        }
    }
    pSessionConfig->iceServers.swap(iceServers);
}

RTC_PEER_CONNECTION_STATE ZelRtcSession::getState() {
    return state_;
}

ZELRTC_SESSION_ID ZelRtcSession::getSessionId() {
    return sid_;
}

// ---- negotiation ----

// The connection that init is building. It is released unless init keeps it, even if an exception leaves init: one of
// the callback, or std::bad_alloc.
class ZelRtcSession::NewConnection {
public:
    explicit NewConnection(ZelRtcSession* pSession) : pPeerConnection(nullptr), pSession_(pSession) {
    }
    ~NewConnection() {
        release();
    }

    void release() {
        if (pPeerConnection != nullptr) {
            pSession_->pPeerConnection_ = nullptr;
            pSession_->releaseRtcConnection(&pPeerConnection);
        }
    }

    PRtcPeerConnection pPeerConnection;

private:
    ZelRtcSession* pSession_;
};

int ZelRtcSession::init(const std::string& offer) {
    UINT32 retStatus = STATUS_SUCCESS;
    NewConnection connection(this);
    PRtcRtpTransceiver pVideoRtcRtpTransceiver = nullptr;
    PRtcRtpTransceiver pAudioRtcRtpTransceiver = nullptr;

    offerReceiveTime_ = zelrtcGetTimeMs();

    if (pPeerConnection_ != nullptr) {
        retStatus = STATUS_INVALID_ARG;
        ZELRTC_LOG(kLogFailure, "peer connection already created");
    } else {
        retStatus = initializePeerConnection(sid_, sessionConfig_, &connection.pPeerConnection);
        if (retStatus == STATUS_SUCCESS) {
            retStatus = setUp(connection.pPeerConnection, &pVideoRtcRtpTransceiver, &pAudioRtcRtpTransceiver);
        }
        if (retStatus == STATUS_SUCCESS) {
            // Set before the offer is handled: gathering may end meanwhile, and its handler needs the connection.
            pPeerConnection_ = connection.pPeerConnection;
            retStatus = handleOffer(connection.pPeerConnection, offer);
        }
    }

    if (retStatus == STATUS_SUCCESS) {
        pVideoRtcRtpTransceiver_ = pVideoRtcRtpTransceiver;
        pAudioRtcRtpTransceiver_ = pAudioRtcRtpTransceiver;
        connection.pPeerConnection = nullptr;
    } else if (connection.pPeerConnection != nullptr) {
        ZELRTC_LOG(kLogFailure, "session: %d, init failed, destroy rtc connection", sid_);
        connection.release();
    }
    ZELRTC_LOG_STATUS(retStatus);
    return static_cast<int>(retStatus);
}

UINT32 initializePeerConnection(ZELRTC_SESSION_ID sid, ZelRtcSessionConfig sessionConfig,
                                PRtcPeerConnection* ppRtcPeerConnection) {
    RtcConfiguration configuration;
    memset(&configuration, 0x00, sizeof(configuration));
    configuration.iceTransportPolicy = ICE_TRANSPORT_POLICY_ALL;
    configuration.kvsRtcConfiguration.generatedCertificateBits = kCertificateBits;

    if (sessionConfig.relayOnly) {
        configuration.iceTransportPolicy = ICE_TRANSPORT_POLICY_RELAY;
        ZELRTC_LOG(kLogDetail, "session %d, set relay only", sid);
    }

    const size_t serverCount = sessionConfig.iceServers.size();
    for (size_t i = 0; i < serverCount && i < MAX_ICE_SERVERS_COUNT; i++) {
        const ZelRtcIceServer& server = sessionConfig.iceServers[i];
        RtcIceServer& target = configuration.iceServers[i];
        copyText(target.urls, server.url.c_str());
        if (!server.username.empty()) {
            copyText(target.username, server.username.c_str());
            copyText(target.credential, server.credential.c_str());
        }
        ZELRTC_LOG(kLogProgress, "session %d, add iceserver. url %s", sid, server.url.c_str());
    }
    if (serverCount > MAX_ICE_SERVERS_COUNT) {
        ZELRTC_LOG(kLogFailure, "session %d, too many iceservers, %u left out", sid,
                   static_cast<unsigned int>(serverCount - MAX_ICE_SERVERS_COUNT));
    }

    const double startTime = zelrtcGetTimeMs();
    const UINT32 retStatus = createPeerConnection(&configuration, ppRtcPeerConnection);
    const double endTime = zelrtcGetTimeMs();
    ZELRTC_LOG(kLogDetail, "createPeerConnection took %.2fms, return 0x%x", endTime - startTime, retStatus);
    return retStatus;
}

UINT32 ZelRtcSession::setUp(PRtcPeerConnection pPeerConnection, PRtcRtpTransceiver* ppVideoTransceiver,
                            PRtcRtpTransceiver* ppAudioTransceiver) {
    UINT32 retStatus = registerHandlers(pPeerConnection);
    if (retStatus == STATUS_SUCCESS) {
        retStatus = declareCodecs(pPeerConnection);
    }
    if (retStatus == STATUS_SUCCESS) {
        retStatus = addVideoTrack(pPeerConnection, ppVideoTransceiver);
    }
    if (retStatus == STATUS_SUCCESS) {
        retStatus = addAudioTrack(pPeerConnection, ppAudioTransceiver);
    }
    return retStatus;
}

UINT32 ZelRtcSession::registerHandlers(PRtcPeerConnection pPeerConnection) {
    const UINT64 customData = toCustomData(this);

    UINT32 retStatus = peerConnectionOnIceCandidate(pPeerConnection, customData, onIceCandidateHandlerStatic);
    if (retStatus == STATUS_SUCCESS) {
        retStatus = peerConnectionOnConnectionStateChange(pPeerConnection, customData, onConnectionStateChangeStatic);
    }
    if (retStatus == STATUS_SUCCESS) {
        retStatus =
            peerConnectionOnSenderBandwidthEstimation(pPeerConnection, customData, onSenderBandwidthEstimationStatic);
    }
    return retStatus;
}

UINT32 ZelRtcSession::addVideoTrack(PRtcPeerConnection pPeerConnection, PRtcRtpTransceiver* ppTransceiver) {
    RtcMediaStreamTrack videoTrack;
    fillTrack(&videoTrack, MEDIA_STREAM_TRACK_KIND_VIDEO, kVideoCodec, "myVideoTrack");
    return addTrack(pPeerConnection, &videoTrack, onVideoFrameHandlerStatic, ppTransceiver);
}

UINT32 ZelRtcSession::addAudioTrack(PRtcPeerConnection pPeerConnection, PRtcRtpTransceiver* ppTransceiver) {
    RtcMediaStreamTrack audioTrack;
    fillTrack(&audioTrack, MEDIA_STREAM_TRACK_KIND_AUDIO, kAudioCodec, "myAudioTrack");
    return addTrack(pPeerConnection, &audioTrack, onAudioFrameHandlerStatic, ppTransceiver);
}

UINT32 ZelRtcSession::addTrack(PRtcPeerConnection pPeerConnection, PRtcMediaStreamTrack pTrack, RtcOnFrame onFrame,
                               PRtcRtpTransceiver* ppTransceiver) {
    const UINT64 customData = toCustomData(this);

    UINT32 retStatus = addTransceiver(pPeerConnection, pTrack, nullptr, ppTransceiver);
    if (retStatus == STATUS_SUCCESS) {
        retStatus = transceiverOnBandwidthEstimation(*ppTransceiver, customData, onBandwidthEstimationStatic);
    }
    if (retStatus == STATUS_SUCCESS) {
        retStatus = transceiverOnFrame(*ppTransceiver, customData, onFrame);
    }
    return retStatus;
}

UINT32 ZelRtcSession::handleOffer(PRtcPeerConnection pPeerConnection, const std::string& payload) {
    RtcSessionDescriptionInit offerSessionDescriptionInit;
    RtcSessionDescriptionInit answerSessionDescriptionInit;
    memset(&offerSessionDescriptionInit, 0x00, sizeof(offerSessionDescriptionInit));
    memset(&answerSessionDescriptionInit, 0x00, sizeof(answerSessionDescriptionInit));
    ZELRTC_LOG(kLogDetail, "session %d, handleOffer with: %s", sid_, payload.c_str());

    UINT32 retStatus = deserializeSessionDescriptionInit(toSdkText(payload), static_cast<UINT32>(payload.size()),
                                                         &offerSessionDescriptionInit);
    if (retStatus == STATUS_SUCCESS) {
        retStatus = setRemoteDescription(pPeerConnection, &offerSessionDescriptionInit);
    }
    if (retStatus == STATUS_SUCCESS) {
        ZELRTC_LOG(kLogProgress, "session %d, handleOffer done", sid_);
        retStatus = createAnswer(pPeerConnection, &answerSessionDescriptionInit);
    }
    if (retStatus == STATUS_SUCCESS) {
        retStatus = setLocalDescription(pPeerConnection, &answerSessionDescriptionInit);
    }
    if (retStatus == STATUS_SUCCESS) {
        ZELRTC_LOG(kLogDetail, "time taken to create answer %.2fms", zelrtcGetTimeMs() - offerReceiveTime_);
        ZELRTC_LOG(kLogProgress, "session %d, create answer done", sid_);
        if (sessionConfig_.trickleIce && callback_ != nullptr) {
            std::string answerSdp;
            retStatus = serializeAnswer(&answerSessionDescriptionInit, &answerSdp);
            if (retStatus == STATUS_SUCCESS) {
                callback_->onAnswer(sid_, answerSdp);
            }
        }
    }
    ZELRTC_LOG_STATUS(retStatus);
    return retStatus;
}

// ---- candidates ----

VOID ZelRtcSession::onIceCandidateHandlerStatic(UINT64 customData, PCHAR candidateJson) {
    toSession(customData)->onIceCandidateHandler(candidateJson);
}

void ZelRtcSession::onIceCandidateHandler(PCHAR candidateJson) {
    if (globalAtomicLoad(&terminated_)) {
        return;
    }

    if (candidateJson != nullptr) {
        if (sessionConfig_.trickleIce && callback_ != nullptr) {
            ZELRTC_LOG(kLogProgress, "session %d, got new candidate: %s", sid_, candidateJson);
            callback_->onIceCandidate(sid_, candidateJson);
        }
        return;
    }

    ZELRTC_LOG(kLogProgress, "ice candidate gathering finished");
    std::string answerSdp;
    const UINT32 retStatus = serializeCurrentLocalDescription(pPeerConnection_, &answerSdp);
    if (retStatus == STATUS_SUCCESS && !sessionConfig_.trickleIce && callback_ != nullptr) {
        callback_->onAnswer(sid_, answerSdp);
    }
    ZELRTC_LOG_STATUS(retStatus);
}

int ZelRtcSession::addRemoteCandidate(const std::string& candidate) {
    // The SDK writes candidate lines of more than 255 characters past the end of its record, and the line comes from
    // the viewer. The spare room takes the overflow; a line without a terminator is refused.
    struct {
        RtcIceCandidateInit iceCandidate;
        CHAR spareRoom[kMaxSignallingMessageSize];
    } record;
    CHAR* const line = record.iceCandidate.candidate;
    UINT32 retStatus = STATUS_INVALID_ARG;

    if (candidate.size() <= sizeof(record.spareRoom)) {
        memset(&record, 0x00, sizeof(record));
        retStatus = deserializeRtcIceCandidateInit(toSdkText(candidate), static_cast<UINT32>(candidate.size()),
                                                   &record.iceCandidate);
        if (retStatus == STATUS_SUCCESS && memchr(line, '\0', sizeof(record.iceCandidate.candidate)) == nullptr) {
            retStatus = STATUS_INVALID_ARG;
        }
    }
    if (retStatus == STATUS_SUCCESS) {
        retStatus = addIceCandidate(pPeerConnection_, line);
    }
    ZELRTC_LOG_STATUS(retStatus);
    return static_cast<int>(retStatus);
}

// ---- media out ----

int ZelRtcSession::setAudioVideoType(int audioType, int videoType) {
    const UINT32 newAudioType = static_cast<UINT32>(audioType);
    const UINT32 newVideoType = static_cast<UINT32>(videoType);

    if (newAudioType <= kMaxAudioType) {
        audioType_ = newAudioType;
    }
    if (newVideoType <= kMaxVideoType && newVideoType != videoType_) {
        videoType_ = newVideoType;
        waitKeyframe_ = true;
    }
    return 0;
}

int ZelRtcSession::writeVideoData(uint8_t* data, size_t size, int64_t presentationTs, int flags, int videoType) {
    if (ZELRTC_RARELY(static_cast<UINT32>(videoType) != videoType_)) {
        return ZELRTC_WRITE_OK;
    }
    return writeData(pVideoRtcRtpTransceiver_, data, size, presentationTs, flags);
}

int ZelRtcSession::writeAudioData(uint8_t* data, size_t size, int64_t presentationTs, int flags) {
    if (ZELRTC_RARELY(audioType_ == 0)) {
        return ZELRTC_WRITE_OK;
    }
    return writeData(pAudioRtcRtpTransceiver_, data, size, presentationTs, flags);
}

int ZelRtcSession::writeData(PRtcRtpTransceiver rtpTransceiver, uint8_t* data, size_t size, int64_t presentationTs,
                             int flags) {
    // Filled before the flags are loaded: afterwards it would cost nine more instructions, because the arguments would
    // have to survive two calls.
    Frame frame;
    memset(&frame, 0x00, sizeof(frame));
    frame.frameData = data;
    frame.size = static_cast<UINT32>(size);
    frame.presentationTs = static_cast<UINT64>(presentationTs) * kSdkTicksPerMicrosecond;
    const bool isVideo = rtpTransceiver == pVideoRtcRtpTransceiver_;
    // Read only while waiting for a key frame. Volatile keeps it out of a register that every frame would pay for.
    const volatile int gateFlags = flags;

    if (!globalAtomicLoad(&connected_) || globalAtomicLoad(&terminated_)) {
        return ZELRTC_WRITE_NOT_CONNECTED;
    }
    // CONNECTED may be reported before init has stored the transceivers, and the SDK crashes on a null one.
    if (rtpTransceiver == nullptr) {
        return ZELRTC_WRITE_NOT_CONNECTED;
    }
    if (isVideo && waitKeyframe_) {
        ZELRTC_LOG(kLogFrame, "input video frame, flag %d", gateFlags);
        if ((gateFlags & ZELRTC_FRAME_FLAG_KEY_FRAME) == 0) {
            ZELRTC_LOG(kLogFrame, "waiting keyframe");
            return ZELRTC_WRITE_WAITING_KEY_FRAME;
        }
        waitKeyframe_ = false;
    }
    return static_cast<int>(writeFrame(rtpTransceiver, &frame));
}

// ---- media in ----

VOID ZelRtcSession::onVideoFrameHandlerStatic(UINT64 customData, PFrame pFrame) {
    toSession(customData)->onVideoFrameHandler(pFrame);
}

void ZelRtcSession::onVideoFrameHandler(PFrame pFrame) {
    ZELRTC_LOG(kLogFrame, "Video Frame received. TrackId: %llu, Size: %u, Flags %u",
               static_cast<unsigned long long>(pFrame->trackId), pFrame->size,
               static_cast<unsigned int>(pFrame->flags));
}

VOID ZelRtcSession::onAudioFrameHandlerStatic(UINT64 customData, PFrame pFrame) {
    toSession(customData)->onAudioFrameHandler(pFrame);
}

void ZelRtcSession::onAudioFrameHandler(PFrame pFrame) {
    if (globalAtomicLoad(&terminated_) || callback_ == nullptr) {
        return;
    }
    callback_->onAudioFrame(sid_, pFrame->frameData, pFrame->size);
}

VOID ZelRtcSession::onBandwidthEstimationStatic(UINT64 customData, DOUBLE maxiumBitrate) {
    toSession(customData)->onBandwidthEstimation(maxiumBitrate);
}

void ZelRtcSession::onBandwidthEstimation(DOUBLE maxiumBitrate) {
    ZELRTC_LOG(kLogFrame, "session %d. received bitrate suggestion: %f", sid_, maxiumBitrate);
}

VOID ZelRtcSession::onSenderBandwidthEstimationStatic(UINT64 customData, UINT32 txBytes, UINT32 rxBytes,
                                                      UINT32 txPacketsCnt, UINT32 rxPacketsCnt, UINT64 duration) {
    toSession(customData)->onSenderBandwidthEstimation(txBytes, rxBytes, txPacketsCnt, rxPacketsCnt, duration);
}

// Registered only because the SDK does not estimate the sender's bandwidth otherwise; the figures are not used.
void ZelRtcSession::onSenderBandwidthEstimation(UINT32, UINT32, UINT32, UINT32, UINT64) {
}

// ---- state ----

VOID ZelRtcSession::onConnectionStateChangeStatic(UINT64 customData, RTC_PEER_CONNECTION_STATE newState) {
    ZelRtcSession* pSession = toSession(customData);
    pSession->onConnectionStateChange(newState);
}

void ZelRtcSession::onConnectionStateChange(RTC_PEER_CONNECTION_STATE newState) {
    UINT32 retStatus = STATUS_SUCCESS;

    if (globalAtomicLoad(&terminated_)) {
        return;
    }
    ZELRTC_LOG(kLogProgress, "session %d, new connection state %u", sid_, static_cast<unsigned int>(newState));
    state_ = newState;

    if (newState == RTC_PEER_CONNECTION_STATE_CONNECTED) {
        // Before the callback, so that media written in response is not refused.
        globalAtomicStore(&connected_, TRUE);
        ZELRTC_LOG(kLogDetail, "log session %d connection info: ", sid_);
        retStatus = logSelectedIceCandidatesInformation(pPeerConnection_);
        if (retStatus != STATUS_SUCCESS) {
            ZELRTC_LOG(kLogTolerated, "Failed to get information about selected Ice candidates: 0x%08x", retStatus);
        }
    } else {
        globalAtomicStore(&connected_, FALSE);
    }

    if (callback_ != nullptr) {
        callback_->onStateChange(sid_, newState);
    }
    ZELRTC_LOG_STATUS(retStatus);
}

// ---- diagnostics ----

UINT32 logSelectedIceCandidatesInformation(PRtcPeerConnection pPeerConnection) {
    RtcStats rtcMetrics;

    if (pPeerConnection == nullptr) {
        return STATUS_SUCCESS;
    }

    rtcMetrics.requestedTypeOfStats = RTC_STATS_TYPE_LOCAL_CANDIDATE;
    UINT32 retStatus = rtcPeerConnectionGetMetrics(pPeerConnection, nullptr, &rtcMetrics);
    if (retStatus == STATUS_SUCCESS) {
        const RtcIceCandidateStats& local = rtcMetrics.rtcStatsObject.localIceCandidateStats;
        ZELRTC_LOG(kLogDetail, "Local Candidate IP Address: %s", local.address);
        ZELRTC_LOG(kLogDetail, "Local Candidate type: %s", local.candidateType);
        ZELRTC_LOG(kLogDetail, "Local Candidate port: %d", local.port);
        ZELRTC_LOG(kLogDetail, "Local Candidate priority: %d", local.priority);
        ZELRTC_LOG(kLogDetail, "Local Candidate transport protocol: %s", local.protocol);
        ZELRTC_LOG(kLogDetail, "Local Candidate relay protocol: %s", local.relayProtocol);
        ZELRTC_LOG(kLogDetail, "Local Candidate Ice server source: %s", local.url);

        rtcMetrics.requestedTypeOfStats = RTC_STATS_TYPE_REMOTE_CANDIDATE;
        retStatus = rtcPeerConnectionGetMetrics(pPeerConnection, nullptr, &rtcMetrics);
    }
    if (retStatus == STATUS_SUCCESS) {
        const RtcIceCandidateStats& remote = rtcMetrics.rtcStatsObject.remoteIceCandidateStats;
        ZELRTC_LOG(kLogDetail, "Remote Candidate IP Address: %s", remote.address);
        ZELRTC_LOG(kLogDetail, "Remote Candidate type: %s", remote.candidateType);
        ZELRTC_LOG(kLogDetail, "Remote Candidate port: %d", remote.port);
        ZELRTC_LOG(kLogDetail, "Remote Candidate priority: %d", remote.priority);
        ZELRTC_LOG(kLogDetail, "Remote Candidate transport protocol: %s", remote.protocol);
    }
    return retStatus;
}

UINT32 gatherIceServerStats(PRtcPeerConnection pPeerConnection, int iceUriCount) {
    RtcStats rtcmetrics;
    const UINT32 count = static_cast<UINT32>(iceUriCount);

    if (pPeerConnection == nullptr) {
        return STATUS_SUCCESS;
    }

    rtcmetrics.requestedTypeOfStats = RTC_STATS_TYPE_ICE_SERVER;
    for (UINT32 j = 0; j < count; j++) {
        RtcIceServerStats& server = rtcmetrics.rtcStatsObject.iceServerStats;
        server.iceServerIndex = j;
        const UINT32 retStatus = rtcPeerConnectionGetMetrics(pPeerConnection, nullptr, &rtcmetrics);
        if (retStatus != STATUS_SUCCESS) {
            return retStatus;
        }
        ZELRTC_LOG(kLogDetail, "ICE Server URL: %s", server.url);
        ZELRTC_LOG(kLogDetail, "ICE Server port: %d", server.port);
        ZELRTC_LOG(kLogDetail, "ICE Server protocol: %s", server.protocol);
        ZELRTC_LOG(kLogDetail, "Total requests sent:%llu", static_cast<unsigned long long>(server.totalRequestsSent));
        ZELRTC_LOG(kLogDetail, "Total responses received: %llu",
                   static_cast<unsigned long long>(server.totalResponsesReceived));
        ZELRTC_LOG(kLogDetail, "Total round trip time: %llums",
                   static_cast<unsigned long long>(server.totalRoundTripTime / kSdkTicksPerMillisecond));
    }
    return STATUS_SUCCESS;
}

// ---- end ----

int ZelRtcSession::teminate() {
    ZELRTC_LOG(kLogDetail, "session %d teminate.", sid_);
    globalAtomicStore(&terminated_, TRUE);
    return 0;
}

ZelRtcSession::~ZelRtcSession() {
    ZELRTC_LOG(kLogProgress, "session: %d, releasing", sid_);
    // Before the connection closes: a handler that runs meanwhile must find the session ended.
    globalAtomicStore(&terminated_, TRUE);
    globalAtomicStore(&connected_, FALSE);

    if (pPeerConnection_ != nullptr) {
        const int iceUriCount = static_cast<int>(sessionConfig_.iceServers.size());
        const UINT32 retStatus = gatherIceServerStats(pPeerConnection_, iceUriCount);
        if (retStatus != STATUS_SUCCESS) {
            ZELRTC_LOG(kLogTolerated, "Failed to ICE Server Stats for streaming session %d: %08x", sid_, retStatus);
        }
        releaseRtcConnection(&pPeerConnection_);
    }
    ZELRTC_LOG(kLogProgress, "session: %d, released", sid_);
}

UINT32 ZelRtcSession::releaseRtcConnection(PRtcPeerConnection* ppPeerConnection) {
    const UINT32 closeStatus = closePeerConnection(*ppPeerConnection);
    ZELRTC_LOG_STATUS(closeStatus);
    const UINT32 freeStatus = freePeerConnection(ppPeerConnection);
    ZELRTC_LOG_STATUS(freeStatus);
    *ppPeerConnection = nullptr;
    return STATUS_SUCCESS;
}
