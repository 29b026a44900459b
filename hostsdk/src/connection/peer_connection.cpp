#include "connection/peer_connection.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <sstream>
#include <thread>
#include <utility>

#include "connection/statistics.h"
#include "connection/test_switches.h"
#include "text/candidate_json.h"
#include "text/candidate_line.h"
#include "text/engine_offer.h"
#include "text/log.h"
#include "text/offer_rules.h"
#include "text/record_text.h"
#include "text/status.h"

namespace zelrtc::hostsdk {

namespace {

constexpr std::chrono::milliseconds kCheckPeriod{50};

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

// Unlike every other session's (RFC 8866); half the range, because some readers take it for signed.
uint64_t makeSessionId() {
    std::random_device random;
    return (uint64_t{random()} << 31) ^ random();
}

std::optional<SessionDescription> readOffer(const RtcSessionDescriptionInit& description, std::string* error) {
    if (description.type != SDP_TYPE_OFFER) {
        *error = "it is not an offer";
        return std::nullopt;
    }
    return parseDescription(getField(description.sdp), error);
}

STATUS refuseOffer(STATUS status, const std::string& reason) {
    std::ostringstream text;
    text << "the offer is refused with 0x" << std::hex << status << ": " << reason;
    logError(text.str());
    return status;
}

void logRejected(const AnswerPlan& plan) {
    for (const PlannedSection& planned : plan.sections) {
        if (planned.outcome != Outcome::kServed) {
            logWarning("not served, " + planned.offered.name() + ": " + planned.reason);
        }
    }
}

// Every server is asked, whether the ICE agent takes it or not; one without an address has a place and no answer.
std::vector<IceServerUrl> probedUrls(const std::vector<IceServer>& servers) {
    std::vector<IceServerUrl> urls;
    urls.reserve(servers.size());
    for (const IceServer& server : servers) {
        urls.push_back(server.url.value_or(IceServerUrl{"stun", "", 0, "udp"}));
    }
    return urls;
}

}  // namespace

std::unique_ptr<PeerConnection> PeerConnection::create(const RtcConfiguration& configuration) {
    std::unique_ptr<PeerConnection> connection(new PeerConnection(configuration));
    const auto executor = connection->executor_;
    const PipelinePosters posters = {
        [executor](HandlerExecutor::Task task) { executor->post(std::move(task)); },
        [executor](HandlerExecutor::Task task) { executor->postIncoming(std::move(task)); }};
    connection->pipeline_ = WebRtcPipeline::create(configuration.iceTransportPolicy == ICE_TRANSPORT_POLICY_RELAY,
                                                   connection->servers_, posters, connection->makeEvents());
    return connection->pipeline_ == nullptr ? nullptr : std::move(connection);
}

PeerConnection::PeerConnection(const RtcConfiguration& configuration)
    : RtcPeerConnection(),
      servers_(readServers(configuration)),
      monitor_([this](RTC_PEER_CONNECTION_STATE state) { onState(state); }, silenceRate()),
      executor_(std::make_shared<HandlerExecutor>([this] { checkConnection(); }, kCheckPeriod)),
      stateReports_(executor_, [this](RTC_PEER_CONNECTION_STATE state) { reportState(state); }) {
}

PeerConnection::~PeerConnection() {
    close();
    if (hasBeenConnected_) {
        std::this_thread::sleep_for(slowRelease());
    }
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
    events.onGatheringDone = [this](size_t found) {
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
    relayCandidates_ += isRelayCandidate(line) ? 1 : 0;
    const bool isTold = gathering_.onCandidate();
    if (!isTold || (isRelayCandidate(line) && relayCandidates_ > kMostRelayCandidates)) {
        logDetail("candidate left out: " + line);
        return;
    }
    std::unique_lock<std::mutex> lock(mutex_);
    local_.candidates.push_back({mLineIndex, line});
    const size_t section = plan_->transportOfEngineLine(mLineIndex).section;
    const std::string mid = plan_->sections[section].offered.attributes.value("mid").value_or("");
    lock.unlock();
    std::string json = writeCandidateJson(sdkCandidate(line), mid, static_cast<unsigned int>(section));
    callCandidateHandler(json.data());
    reportGatheringEnd();
}

void PeerConnection::reportGatheringEnd() {
    if (!gathering_.takeEnd(haveServersAnswered(), Gathering::Clock::now())) {
        return;
    }
    if (!gathering_.hasCandidate()) {
        logWarning("gathering ended without a candidate");
    }
    tellGatheringEnd();
}

// The handler may ask for the complete answer.
void PeerConnection::tellGatheringEnd() {
    std::unique_lock<std::mutex> lock(mutex_);
    local_.hasAllCandidates = true;
    lock.unlock();
    callCandidateHandler(nullptr);
}

// A far end whose offer holds its candidates gets an answer that holds this side's, and so can do nothing before
// gathering has ended.
bool PeerConnection::isAwaitedByFarEnd() const {
    return isOfferComplete_ && gathering_.hasCandidate() && !gathering_.hasEnded();
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

void PeerConnection::onState(RTC_PEER_CONNECTION_STATE state) {
    hasBeenConnected_ = hasBeenConnected_ || state == RTC_PEER_CONNECTION_STATE_CONNECTED;
    stateReports_.add(state);
    if (state == RTC_PEER_CONNECTION_STATE_FAILED && gathering_.cutShort()) {
        executor_->post([this] { tellGatheringEnd(); });
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
        if (transceiver->receiver.track.codec == codec && transceiver->isSourceNamed()) {
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
    const auto now = ConnectionMonitor::Clock::now();
    const std::shared_ptr<WebRtcPipeline> pipeline = currentPipeline();
    if (pipeline != nullptr) {
        if (isAwaitedByFarEnd()) {
            monitor_.restartConnecting(now);
        }
        monitor_.check(pipeline->lastPacket(), now);
    }
    reportGatheringEnd();
}

STATUS PeerConnection::addTransceiver(const RtcMediaStreamTrack& track, RTC_RTP_TRANSCEIVER_DIRECTION direction,
                                      PRtcRtpTransceiver* transceiver) {
    transceivers_.push_back(std::make_unique<Transceiver>(track, direction));
    *transceiver = transceivers_.back().get();
    return STATUS_SUCCESS;
}

std::vector<AnsweringTrack> PeerConnection::answeringTracks() const {
    std::vector<AnsweringTrack> tracks;
    tracks.reserve(transceivers_.size());
    for (const auto& transceiver : transceivers_) {
        const RtcMediaStreamTrack& track = transceiver->receiver.track;
        tracks.push_back({track.codec, transceiver->direction, getField(track.streamId), getField(track.trackId)});
    }
    return tracks;
}

STATUS PeerConnection::setRemoteDescription(const RtcSessionDescriptionInit& description) {
    if (pipeline_ == nullptr || plan_ != nullptr) {
        return STATUS_INVALID_OPERATION;
    }
    std::string error;
    const std::optional<SessionDescription> offer = readOffer(description, &error);
    if (!offer) {
        return refuseOffer(kStatusSdpUnreadable, error);
    }
    const std::string sdp = getField(description.sdp);
    const STATUS status = checkOffer(sdp);
    if (status != STATUS_SUCCESS) {
        return refuseOffer(status, "the SDK does not take one like it");
    }
    std::optional<AnswerPlan> plan = planAnswer(*offer, answeringTracks(), &error);
    if (!plan) {
        return refuseOffer(kStatusSdpUnreadable, error);
    }
    if (!pipeline_->setRemoteDescription(engineOffer(*plan), plan->transports.size())) {
        return kStatusSdpUnreadable;
    }
    logRejected(*plan);
    hasSessionName_ = hasSessionName(sdp);
    isOfferComplete_ = sdp.find("\na=candidate:") != std::string::npos;
    std::unique_lock<std::mutex> lock(mutex_);
    plan_ = std::make_shared<const AnswerPlan>(std::move(*plan));
    local_.sessionId = makeSessionId();
    lock.unlock();
    addMedia();
    return STATUS_SUCCESS;
}

void PeerConnection::addMedia() {
    for (size_t line = 0; line < plan_->served.size(); line++) {
        const PlannedSection& planned = plan_->sections[plan_->served[line]];
        Transceiver& transceiver = *transceivers_[planned.track];
        NegotiatedMedia media;
        media.mLineIndex = static_cast<unsigned int>(line);
        media.codec = transceiver.receiver.track.codec;
        media.payloadType = planned.format.payloadType;
        media.direction = planned.direction;
        media.streamId = planned.streamId;
        transceiver.setSourceNamed(planned.offered.attributes.has("ssrc"));
        transceiver.setSender(pipeline_->addMedia(media));
    }
}

STATUS PeerConnection::createAnswer(PRtcSessionDescriptionInit description) {
    if (pipeline_ == nullptr) {
        return STATUS_INVALID_OPERATION;
    }
    if (plan_ == nullptr || !hasSessionName_) {
        return kStatusNoRemoteDescription;
    }
    const std::string engineAnswer = pipeline_->createAnswer().value_or("");
    std::string error;
    std::optional<SessionDescription> read = parseDescription(engineAnswer, &error);
    if (!read || read->sections.size() != plan_->served.size()) {
        logError("the engine gives no answer: " + error);
        return STATUS_INVALID_OPERATION;
    }
    std::unique_lock<std::mutex> lock(mutex_);
    engineAnswer_ = engineAnswer;
    local_.engineAnswer = std::move(*read);
    lock.unlock();
    description->type = SDP_TYPE_ANSWER;
    return writeAnswer(description);
}

STATUS PeerConnection::writeAnswer(PRtcSessionDescriptionInit description) {
    std::unique_lock<std::mutex> lock(mutex_);
    const std::string sdp = hostsdk::writeAnswer(*plan_, local_);
    lock.unlock();
    if (sdp.size() > MAX_SESSION_DESCRIPTION_INIT_SDP_LEN) {
        return STATUS_BUFFER_TOO_SMALL;
    }
    setField(description->sdp, sdp);
    return STATUS_SUCCESS;
}

// The engine gets the answer that it made; what the caller has is that answer as the viewer gets it.
STATUS PeerConnection::setLocalDescription(const RtcSessionDescriptionInit& description) {
    if (pipeline_ == nullptr || engineAnswer_.empty()) {
        return STATUS_INVALID_OPERATION;
    }
    std::string error;
    if (!parseDescription(getField(description.sdp), &error)) {
        logError("the answer is refused: " + error);
        return kStatusSdpUnreadable;
    }
    std::unique_lock<std::mutex> lock(mutex_);
    probe_ = std::make_shared<ServerProbe>(probedUrls(servers_));
    lock.unlock();
    executor_->post([this] {
        gathering_.start(Gathering::Clock::now());
        monitor_.start(ConnectionMonitor::Clock::now());
    });
    // Before gathering begins, whose end may come first: its handler may ask for the complete answer.
    hasLocalDescription_ = true;
    return pipeline_->setLocalDescription(engineAnswer_) ? STATUS_SUCCESS : kStatusSdpUnreadable;
}

STATUS PeerConnection::currentLocalDescription(PRtcSessionDescriptionInit description) {
    if (currentPipeline() == nullptr || !hasLocalDescription_) {
        return STATUS_INVALID_OPERATION;
    }
    // The SDK leaves the type open here.
    std::memset(&description->type, 0, sizeof(description->type));
    return writeAnswer(description);
}

STATUS PeerConnection::addIceCandidate(const std::string& line) {
    const std::shared_ptr<WebRtcPipeline> pipeline = currentPipeline();
    if (pipeline == nullptr) {
        return STATUS_INVALID_OPERATION;
    }
    const std::shared_ptr<const AnswerPlan> plan = currentPlan();
    const std::optional<std::string> candidate = usableCandidate(line);
    if (!candidate || plan == nullptr) {
        logDetail("candidate ignored: " + line);
        return STATUS_SUCCESS;
    }
    // The line says at most by its user which transport it is for. To another one it does no harm: no check succeeds.
    const std::string user = candidateUser(*candidate);
    for (size_t i = 0; i < plan->transports.size(); i++) {
        if (user.empty() || user == plan->transports[i].user) {
            pipeline->addCandidate(i, *candidate);
        }
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
    const std::shared_ptr<ServerProbe> probe = currentProbe();
    *record = serverStatistics(servers_[index], index, probe == nullptr ? ServerExchange() : probe->exchange(index));
    return STATUS_SUCCESS;
}

std::shared_ptr<const AnswerPlan> PeerConnection::currentPlan() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return plan_;
}

std::shared_ptr<WebRtcPipeline> PeerConnection::currentPipeline() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return pipeline_;
}

std::shared_ptr<ServerProbe> PeerConnection::currentProbe() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return probe_;
}

bool PeerConnection::haveServersAnswered() {
    const std::shared_ptr<ServerProbe> probe = currentProbe();
    return probe == nullptr || probe->haveAllAnswered();
}

}  // namespace zelrtc::hostsdk
