#include "connection/peer_connection.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "connection/statistics.h"
#include "text/answer.h"
#include "text/candidate_json.h"
#include "text/candidate_line.h"
#include "text/log.h"
#include "text/record_text.h"
#include "text/status.h"

namespace zelrtc::hostsdk {

namespace {

constexpr std::chrono::milliseconds kCheckPeriod{250};

// webrtcbin takes one STUN server, without TLS, and any number of TURN servers.
std::vector<IceServer> readServers(const RtcConfiguration& configuration) {
    std::vector<IceServer> servers;
    bool hasStunServer = false;
    for (const RtcIceServer& entry : configuration.iceServers) {
        IceServer server;
        server.text = getField(entry.urls);
        if (server.text.empty()) {
            break;
        }
        server.url = parseIceServerUrl(server.text);
        server.username = getField(entry.username);
        server.credential = getField(entry.credential);
        server.inUse = server.url && (server.url->isRelay() || (server.url->scheme == "stun" && !hasStunServer));
        hasStunServer = hasStunServer || (server.inUse && !server.url->isRelay());
        servers.push_back(server);
    }
    return servers;
}

const char* kindName(MEDIA_STREAM_TRACK_KIND kind) {
    return kind == MEDIA_STREAM_TRACK_KIND_AUDIO ? "audio" : "video";
}

}  // namespace

std::unique_ptr<PeerConnection> PeerConnection::create(const RtcConfiguration& configuration) {
    std::unique_ptr<PeerConnection> connection(new PeerConnection(configuration));
    connection->pipeline_ =
        WebRtcPipeline::create(configuration.iceTransportPolicy == ICE_TRANSPORT_POLICY_RELAY, connection->servers_,
                               connection->executor_, connection->makeEvents());
    return connection->pipeline_ == nullptr ? nullptr : std::move(connection);
}

PeerConnection::PeerConnection(const RtcConfiguration& configuration)
    : RtcPeerConnection(),
      servers_(readServers(configuration)),
      monitor_([this](RTC_PEER_CONNECTION_STATE state) { reportState(state); }),
      executor_(std::make_shared<HandlerExecutor>([this] { checkConnection(); }, kCheckPeriod)) {
}

PeerConnection::~PeerConnection() {
    close();
}

void PeerConnection::close() {
    executor_->stop();
    for (const auto& transceiver : transceivers_) {
        transceiver->setReady(false);
        transceiver->setSender(nullptr);
    }
    std::unique_lock<std::mutex> lock(mutex_);
    const std::shared_ptr<WebRtcPipeline> closing = std::move(pipeline_);
    lock.unlock();
}

PipelineEvents PeerConnection::makeEvents() {
    PipelineEvents events;
    events.onCandidate = [this](unsigned int mLineIndex, const std::string& line) {
        reportCandidate(mLineIndex, line);
    };
    events.onGatheringDone = [this](std::size_t found) {
        gathering_.onDone(found, Gathering::Clock::now());
        reportGatheringEnd();
    };
    events.onTransport = [this](TransportEvent event) { monitor_.onTransport(event, ConnectionMonitor::Clock::now()); };
    events.onBandwidth = [this](double bitsPerSecond) { reportBandwidth(bitsPerSecond); };
    events.onFrame = [this](RTC_CODEC codec, Frame* frame) { reportFrame(codec, frame); };
    return events;
}

void PeerConnection::setCandidateHandler(UINT64 customData, RtcOnIceCandidate handler) {
    const std::lock_guard<std::mutex> lock(mutex_);
    onCandidate_ = handler;
    onCandidateData_ = customData;
}

void PeerConnection::setStateHandler(UINT64 customData, RtcOnConnectionStateChange handler) {
    const std::lock_guard<std::mutex> lock(mutex_);
    onState_ = handler;
    onStateData_ = customData;
}

void PeerConnection::reportCandidate(unsigned int mLineIndex, const std::string& line) {
    gathering_.onCandidate();
    const std::string mid = mLineIndex < offer_.size() ? offer_[mLineIndex].mid : "";
    std::string json = writeCandidateJson(sdkCandidate(line), mid, mLineIndex);
    callCandidateHandler(json.data());
    reportGatheringEnd();
}

// Without a local candidate no pair can form, whatever the far end still sends, and the ICE agent, having nothing to
// check, would never report a failure.
void PeerConnection::reportGatheringEnd() {
    if (!gathering_.takeEnd(Gathering::Clock::now())) {
        return;
    }
    callCandidateHandler(nullptr);
    if (!gathering_.hasCandidate()) {
        logWarning("gathering ended without a candidate");
        monitor_.onTransport(TransportEvent::kFailed, ConnectionMonitor::Clock::now());
    }
}

void PeerConnection::callCandidateHandler(PCHAR json) {
    std::unique_lock<std::mutex> lock(mutex_);
    const RtcOnIceCandidate handler = onCandidate_;
    const UINT64 customData = onCandidateData_;
    lock.unlock();
    if (handler != nullptr) {
        handler(customData, json);
    }
}

void PeerConnection::reportState(RTC_PEER_CONNECTION_STATE state) {
    // Before the handler runs, because it may write a frame.
    setReady(state == RTC_PEER_CONNECTION_STATE_CONNECTED || state == RTC_PEER_CONNECTION_STATE_DISCONNECTED);
    std::unique_lock<std::mutex> lock(mutex_);
    const RtcOnConnectionStateChange handler = onState_;
    const UINT64 customData = onStateData_;
    lock.unlock();
    if (handler != nullptr) {
        handler(customData, state);
    }
}

void PeerConnection::setReady(bool ready) {
    for (const auto& transceiver : transceivers_) {
        transceiver->setReady(ready);
    }
}

void PeerConnection::reportFrame(RTC_CODEC codec, Frame* frame) {
    for (const auto& transceiver : transceivers_) {
        if (transceiver->receiver.track.codec == codec) {
            transceiver->handleFrame(frame);
            return;
        }
    }
}

void PeerConnection::reportBandwidth(double bitsPerSecond) {
    for (const auto& transceiver : transceivers_) {
        if (transceiver->receiver.track.kind == MEDIA_STREAM_TRACK_KIND_VIDEO) {
            transceiver->handleBandwidth(bitsPerSecond);
            return;
        }
    }
}

void PeerConnection::checkConnection() {
    reportGatheringEnd();
    const std::shared_ptr<WebRtcPipeline> pipeline = currentPipeline();
    if (pipeline != nullptr) {
        monitor_.check(pipeline->lastPacket(), ConnectionMonitor::Clock::now());
    }
}

STATUS PeerConnection::addTransceiver(const RtcMediaStreamTrack& track, RTC_RTP_TRANSCEIVER_DIRECTION direction,
                                      PRtcRtpTransceiver* transceiver) {
    transceivers_.push_back(std::make_unique<Transceiver>(track, direction));
    *transceiver = transceivers_.back().get();
    return STATUS_SUCCESS;
}

STATUS PeerConnection::setRemoteDescription(const RtcSessionDescriptionInit& description) {
    if (pipeline_ == nullptr) {
        return STATUS_INVALID_OPERATION;
    }
    const std::string sdp = getField(description.sdp);
    std::vector<OfferedMedia> offer = parseOffer(sdp);
    if (description.type != SDP_TYPE_OFFER || offer.empty() || !pipeline_->setRemoteDescription(sdp)) {
        return kStatusSdpUnreadable;
    }
    offer_ = std::move(offer);
    addMedia();
    return STATUS_SUCCESS;
}

Transceiver* PeerConnection::claimTransceiver(const std::string& kind, std::vector<Transceiver*>* claimed) {
    for (const auto& transceiver : transceivers_) {
        const bool isFree = std::find(claimed->begin(), claimed->end(), transceiver.get()) == claimed->end();
        if (isFree && kind == kindName(transceiver->receiver.track.kind)) {
            claimed->push_back(transceiver.get());
            return transceiver.get();
        }
    }
    return nullptr;
}

void PeerConnection::addMedia() {
    std::vector<Transceiver*> claimed;
    for (size_t i = 0; i < offer_.size(); i++) {
        Transceiver* const transceiver = offer_[i].rejected ? nullptr : claimTransceiver(offer_[i].kind, &claimed);
        if (transceiver == nullptr) {
            continue;
        }
        const RtcMediaStreamTrack& track = transceiver->receiver.track;
        const std::optional<PayloadFormat> format = chooseFormat(offer_[i], track.codec);
        if (!format) {
            logWarning("the offer has no codec for m-line " + std::to_string(i) + " that this side can answer");
            continue;
        }
        NegotiatedMedia media;
        media.mLineIndex = static_cast<unsigned int>(i);
        media.codec = track.codec;
        media.format = *format;
        media.direction = answerDirection(offer_[i].direction, transceiver->direction);
        media.streamId = getField(track.streamId);
        transceiver->setSender(pipeline_->addMedia(media));
        answered_.push_back({format->payloadType, profileLevelId(format->parameters)});
    }
}

STATUS PeerConnection::createAnswer(PRtcSessionDescriptionInit description) {
    if (pipeline_ == nullptr) {
        return STATUS_INVALID_OPERATION;
    }
    if (offer_.empty()) {
        return kStatusNoRemoteDescription;
    }
    const std::optional<std::string> sdp = pipeline_->createAnswer();
    if (!sdp) {
        return STATUS_INVALID_OPERATION;
    }
    const std::string complete = completeAnswer(*sdp, answered_);
    if (complete.size() > MAX_SESSION_DESCRIPTION_INIT_SDP_LEN) {
        return STATUS_BUFFER_TOO_SMALL;
    }
    description->type = SDP_TYPE_ANSWER;
    setField(description->sdp, complete);
    return STATUS_SUCCESS;
}

STATUS PeerConnection::setLocalDescription(const RtcSessionDescriptionInit& description) {
    if (pipeline_ == nullptr || offer_.empty()) {
        return STATUS_INVALID_OPERATION;
    }
    hasAskedServers_ = true;
    executor_->post([this] { monitor_.start(ConnectionMonitor::Clock::now()); });
    return pipeline_->setLocalDescription(getField(description.sdp)) ? STATUS_SUCCESS : kStatusSdpUnreadable;
}

STATUS PeerConnection::currentLocalDescription(PRtcSessionDescriptionInit description) {
    const std::shared_ptr<WebRtcPipeline> pipeline = currentPipeline();
    const std::string sdp = pipeline == nullptr ? "" : pipeline->localDescription();
    if (sdp.empty()) {
        return STATUS_INVALID_OPERATION;
    }
    if (sdp.size() > MAX_SESSION_DESCRIPTION_INIT_SDP_LEN) {
        return STATUS_BUFFER_TOO_SMALL;
    }
    // The SDK leaves the type open here.
    std::memset(&description->type, 0, sizeof(description->type));
    setField(description->sdp, sdp);
    return STATUS_SUCCESS;
}

STATUS PeerConnection::addIceCandidate(const std::string& line) {
    const std::shared_ptr<WebRtcPipeline> pipeline = currentPipeline();
    if (pipeline == nullptr) {
        return STATUS_INVALID_OPERATION;
    }
    const std::optional<std::string> candidate = usableCandidate(line);
    if (candidate) {
        pipeline->addCandidate(*candidate);
    } else {
        logDetail("candidate ignored: " + line);
    }
    return STATUS_SUCCESS;
}

STATUS PeerConnection::metrics(PRtcStats stats) {
    RtcStatsObject& object = stats->rtcStatsObject;
    switch (stats->requestedTypeOfStats) {
        case RTC_STATS_TYPE_LOCAL_CANDIDATE:
            return selectedCandidate(Side::kLocal, &object.localIceCandidateStats);
        case RTC_STATS_TYPE_REMOTE_CANDIDATE:
            return selectedCandidate(Side::kRemote, &object.remoteIceCandidateStats);
        case RTC_STATS_TYPE_ICE_SERVER:
            return iceServer(&object.iceServerStats);
        default:
            return STATUS_NOT_IMPLEMENTED;
    }
}

STATUS PeerConnection::selectedCandidate(Side side, PRtcIceCandidateStats record) {
    const std::shared_ptr<WebRtcPipeline> pipeline = currentPipeline();
    if (pipeline == nullptr) {
        return STATUS_INVALID_OPERATION;
    }
    *record = candidateStatistics(*pipeline->statistics(), side, servers_);
    return STATUS_SUCCESS;
}

STATUS PeerConnection::iceServer(PRtcIceServerStats record) {
    const UINT32 index = record->iceServerIndex;
    if (index >= servers_.size()) {
        return kStatusIceServerIndex;
    }
    // The ICE agent keeps no counters per server, so once a server has been asked its figures are unknown.
    if (hasAskedServers_ && servers_[index].inUse) {
        return STATUS_NOT_IMPLEMENTED;
    }
    *record = untouchedServerStatistics(servers_[index], index);
    return STATUS_SUCCESS;
}

std::shared_ptr<WebRtcPipeline> PeerConnection::currentPipeline() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return pipeline_;
}

}  // namespace zelrtc::hostsdk
