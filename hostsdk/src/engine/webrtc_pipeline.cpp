#include "engine/webrtc_pipeline.h"

#include <gst/app/gstappsrc.h>
#include <gst/rtp/gstrtcpbuffer.h>
#include <gst/sdp/gstsdpmessage.h>

#include <utility>

#include "engine/agent_candidates.h"
#include "engine/dtls_close.h"
#include "engine/network_interfaces.h"
#include "text/log.h"
#include "text/remb.h"

namespace zelrtc::hostsdk {

namespace {

constexpr guint kJitterBufferMs = 100;
// Two instead of seven: gathering with a TURN server ends after 0.8 s instead of 2.0 s.
constexpr guint kStunRetransmissions = 2;
// Between connectivity checks: the shortest pause that RFC 8445 allows. With the agent's default of 20 ms, a call on a
// nearby network spends most of its set-up time waiting for the next check.
constexpr guint kCheckPacingMs = 5;
constexpr int kDtlsClosed = 1;
constexpr int kDtlsConnected = 4;

// Tells RTP and RTCP from everything else on the transport (RFC 7983).
bool isMediaPacket(guint8 firstByte) {
    return firstByte >= 128 && firstByte <= 191;
}

GstWebRTCRTPTransceiverDirection toGst(RTC_RTP_TRANSCEIVER_DIRECTION direction) {
    switch (direction) {
        case RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV:
            return GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV;
        case RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY:
            return GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY;
        case RTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY:
            return GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY;
        case RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE:
            break;
    }
    return GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE;
}

bool sends(RTC_RTP_TRANSCEIVER_DIRECTION direction) {
    return direction == RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV || direction == RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY;
}

// Without the ssrc, retransmission would announce a source 0 and browsers would show no picture.
GstPtr<GstCaps> mediaCaps(const NegotiatedMedia& media, guint ssrc) {
    const bool isAudio = media.codec == RTC_CODEC_MULAW;
    GstPtr<GstCaps> caps(gst_caps_new_simple("application/x-rtp", "media", G_TYPE_STRING, isAudio ? "audio" : "video",
                                             "encoding-name", G_TYPE_STRING, isAudio ? "PCMU" : "H264", "clock-rate",
                                             G_TYPE_INT, isAudio ? 8000 : 90000, "payload", G_TYPE_INT,
                                             media.format.payloadType, "ssrc", G_TYPE_UINT, ssrc, nullptr));
    if (!isAudio) {
        gst_caps_set_simple(caps.get(), "packetization-mode", G_TYPE_STRING, "1", nullptr);
    }
    return caps;
}

GstPtr<GObject> objectProperty(gpointer object, const char* name) {
    GObject* value = nullptr;
    g_object_get(object, name, &value, nullptr);
    return GstPtr<GObject>(value);
}

bool isElement(GstElement* element, const char* factoryName) {
    GstElementFactory* const factory = gst_element_get_factory(element);
    return factory != nullptr && g_strcmp0(GST_OBJECT_NAME(factory), factoryName) == 0;
}

std::optional<RTC_CODEC> codecOf(GstPad* pad) {
    const GstPtr<GstCaps> caps(gst_pad_get_current_caps(pad));
    if (caps == nullptr) {
        return std::nullopt;
    }
    const char* const name = gst_structure_get_string(gst_caps_get_structure(caps.get(), 0), "encoding-name");
    if (g_strcmp0(name, "PCMU") == 0) {
        return RTC_CODEC_MULAW;
    }
    if (g_strcmp0(name, "H264") == 0) {
        return RTC_CODEC_H264_PROFILE_42E01F_LEVEL_ASYMMETRY_ALLOWED_PACKETIZATION_MODE;
    }
    return std::nullopt;
}

std::string descriptionText(const GstWebRTCSessionDescription* description) {
    char* const written = gst_sdp_message_as_text(description->sdp);
    std::string text = written;
    g_free(written);
    return text;
}

}  // namespace

// The state that webrtcbin's callbacks use; it outlives them.
struct WebRtcPipeline::Link {
    std::shared_ptr<HandlerExecutor> executor;
    PipelineEvents events;
    std::atomic<ConnectionMonitor::Clock::rep> lastPacket{0};
    std::atomic<bool> dtlsConnected{false};

    static void postTransport(const std::shared_ptr<Link>& link, TransportEvent event) {
        link->executor->post([link, event] { link->events.onTransport(event); });
    }

    static void onCandidate(GstElement*, guint mLineIndex, gchar* text, std::shared_ptr<Link>* link);
    static void onGatheringDone(GObject* agent, guint stream, std::shared_ptr<Link>* link);
    static void onConnectionState(GstElement* webrtcbin, GParamSpec*, std::shared_ptr<Link>* link);
    static void onElementAdded(GstBin*, GstBin*, GstElement* element, std::shared_ptr<Link>* link);
    static void onDtlsState(GstElement* dtlsdec, GParamSpec*, std::shared_ptr<Link>* link);
    static void onPadAdded(GstElement* webrtcbin, GstPad* pad, std::shared_ptr<Link>* link);
    static void onFeedback(GObject*, guint type, guint format, guint senderSsrc, guint mediaSsrc, GstBuffer* control,
                           std::shared_ptr<Link>* link);
    static GstPadProbeReturn onPacket(GstPad*, GstPadProbeInfo* info, gpointer link);
};

void WebRtcPipeline::Link::onCandidate(GstElement*, guint mLineIndex, gchar* text, std::shared_ptr<Link>* link) {
    (*link)->executor->post(
        [link = *link, mLineIndex, text = std::string(text)] { link->events.onCandidate(mLineIndex, text); });
}

// From the agent, because webrtcbin (1.22) misses the end if a candidate arrives while it checks for it.
void WebRtcPipeline::Link::onGatheringDone(GObject* agent, guint stream, std::shared_ptr<Link>* link) {
    const std::size_t found = countAgentCandidates(agent, stream);
    (*link)->executor->post([link = *link, found] { link->events.onGatheringDone(found); });
}

void WebRtcPipeline::Link::onConnectionState(GstElement* webrtcbin, GParamSpec*, std::shared_ptr<Link>* link) {
    GstWebRTCPeerConnectionState state = GST_WEBRTC_PEER_CONNECTION_STATE_NEW;
    g_object_get(webrtcbin, "connection-state", &state, nullptr);
    if (state == GST_WEBRTC_PEER_CONNECTION_STATE_CONNECTED) {
        postTransport(*link, TransportEvent::kConnected);
    } else if (state == GST_WEBRTC_PEER_CONNECTION_STATE_FAILED) {
        postTransport(*link, TransportEvent::kFailed);
    }
}

void WebRtcPipeline::Link::onElementAdded(GstBin*, GstBin*, GstElement* element, std::shared_ptr<Link>* link) {
    if (isElement(element, "dtlsdec")) {
        connectSignal(element, "notify::connection-state", G_CALLBACK(onDtlsState), *link);
    } else if (isElement(element, "nicesrc")) {
        const GstPtr<GstPad> output(gst_element_get_static_pad(element, "src"));
        gst_pad_add_probe(output.get(), GST_PAD_PROBE_TYPE_BUFFER, onPacket, new std::shared_ptr<Link>(*link),
                          [](gpointer data) { delete static_cast<std::shared_ptr<Link>*>(data); });
    }
}

// A far end announces its closing through DTLS; webrtcbin's own states do not show it.
void WebRtcPipeline::Link::onDtlsState(GstElement* dtlsdec, GParamSpec*, std::shared_ptr<Link>* link) {
    gint state = 0;
    g_object_get(dtlsdec, "connection-state", &state, nullptr);
    if (state == kDtlsConnected) {
        (*link)->dtlsConnected = true;
    } else if (state == kDtlsClosed && (*link)->dtlsConnected.exchange(false)) {
        postTransport(*link, TransportEvent::kClosedByFarEnd);
    }
}

void WebRtcPipeline::Link::onPadAdded(GstElement* webrtcbin, GstPad* pad, std::shared_ptr<Link>* shared) {
    const std::optional<RTC_CODEC> codec = codecOf(pad);
    if (GST_PAD_DIRECTION(pad) != GST_PAD_SRC || !codec) {
        return;
    }
    const std::shared_ptr<Link> link = *shared;
    const GstPtr<GstElement> pipeline(GST_ELEMENT(gst_element_get_parent(webrtcbin)));
    if (pipeline != nullptr) {
        receiveMedia(pipeline.get(), pad, *codec, link->executor,
                     [link, codec = *codec](Frame* frame) { link->events.onFrame(codec, frame); });
    }
}

void WebRtcPipeline::Link::onFeedback(GObject*, guint type, guint format, guint, guint, GstBuffer* control,
                                      std::shared_ptr<Link>* link) {
    GstMapInfo map;
    if (type != GST_RTCP_TYPE_PSFB || format != GST_RTCP_PSFB_TYPE_AFB || control == nullptr ||
        !gst_buffer_map(control, &map, GST_MAP_READ)) {
        return;
    }
    const std::optional<double> limit = readRemb(map.data, map.size);
    gst_buffer_unmap(control, &map);
    if (limit) {
        (*link)->executor->post([link = *link, limit = *limit] { link->events.onBandwidth(limit); });
    }
}

GstPadProbeReturn WebRtcPipeline::Link::onPacket(GstPad*, GstPadProbeInfo* info, gpointer link) {
    guint8 firstByte = 0;
    if (gst_buffer_extract(GST_PAD_PROBE_INFO_BUFFER(info), 0, &firstByte, 1) == 1 && isMediaPacket(firstByte)) {
        (*static_cast<std::shared_ptr<Link>*>(link))->lastPacket =
            ConnectionMonitor::Clock::now().time_since_epoch().count();
    }
    return GST_PAD_PROBE_OK;
}

std::unique_ptr<WebRtcPipeline> WebRtcPipeline::create(bool relayOnly, const std::vector<IceServer>& servers,
                                                       std::shared_ptr<HandlerExecutor> executor,
                                                       PipelineEvents events) {
    GstElement* const webrtcbin = gst_element_factory_make("webrtcbin", nullptr);
    if (webrtcbin == nullptr) {
        logError("GStreamer has no webrtcbin: its plugins bad and nice are needed");
        return nullptr;
    }
    GstPtr<GstElement> pipeline(gst_pipeline_new(nullptr));
    gst_bin_add(GST_BIN(pipeline.get()), webrtcbin);
    auto link = std::make_shared<Link>();
    link->executor = std::move(executor);
    link->events = std::move(events);

    std::unique_ptr<WebRtcPipeline> result(new WebRtcPipeline(std::move(pipeline), webrtcbin, std::move(link)));
    result->configure(relayOnly, servers);
    result->connectSignals();
    if (gst_element_set_state(result->pipeline_.get(), GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE) {
        logError("webrtcbin does not start: GStreamer's plugins good, bad and nice are needed");
        return nullptr;
    }
    return result;
}

WebRtcPipeline::WebRtcPipeline(GstPtr<GstElement> pipeline, GstElement* webrtcbin, std::shared_ptr<Link> link)
    : pipeline_(std::move(pipeline)), webrtcbin_(webrtcbin), link_(std::move(link)) {
}

WebRtcPipeline::~WebRtcPipeline() {
    sendDtlsClose(GST_BIN(webrtcbin_));
    // get-stats is a barrier: its reply follows all queued work. Closing while webrtcbin still gathers candidates would
    // leak their sockets.
    statistics();
    gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
}

void WebRtcPipeline::configure(bool relayOnly, const std::vector<IceServer>& servers) {
    g_object_set(webrtcbin_, "bundle-policy", GST_WEBRTC_BUNDLE_POLICY_MAX_BUNDLE, "latency", kJitterBufferMs,
                 "ice-transport-policy",
                 relayOnly ? GST_WEBRTC_ICE_TRANSPORT_POLICY_RELAY : GST_WEBRTC_ICE_TRANSPORT_POLICY_ALL, nullptr);
    configureAgent();
    addServers(servers);

    // Nobody reads the bus, so its messages would pile up.
    GstBus* const bus = gst_pipeline_get_bus(GST_PIPELINE(pipeline_.get()));
    gst_bus_set_sync_handler(
        bus,
        [](GstBus*, GstMessage* message, gpointer) {
            gst_message_unref(message);
            return GST_BUS_DROP;
        },
        nullptr, nullptr);
    gst_object_unref(bus);
}

void WebRtcPipeline::configureAgent() {
    const GstPtr<GObject> ice = objectProperty(webrtcbin_, "ice-agent");
    g_object_set(ice.get(), "ice-tcp", FALSE, nullptr);
    if (hasOnlyLoopback()) {
        gboolean added = FALSE;
        g_signal_emit_by_name(ice.get(), "add-local-ip-address", "127.0.0.1", &added);
    }

    const GstPtr<GObject> agent = objectProperty(ice.get(), "agent");
    // Asking the router for a port mapping costs 200 ms of gathering, answered or not.
    g_object_set(agent.get(), "upnp", FALSE, "stun-max-retransmissions", kStunRetransmissions, "stun-pacing-timer",
                 kCheckPacingMs, nullptr);
    connectSignal(agent.get(), "candidate-gathering-done", G_CALLBACK(Link::onGatheringDone), link_);
}

void WebRtcPipeline::addServers(const std::vector<IceServer>& servers) {
    for (const IceServer& server : servers) {
        if (!server.inUse) {
            logDetail("ICE server left out: " + server.text);
            continue;
        }
        const std::string uri = webrtcbinUri(*server.url, server.username, server.credential);
        if (server.url->isRelay()) {
            gboolean added = FALSE;
            g_signal_emit_by_name(webrtcbin_, "add-turn-server", uri.c_str(), &added);
        } else {
            g_object_set(webrtcbin_, "stun-server", uri.c_str(), nullptr);
        }
    }
}

void WebRtcPipeline::connectSignals() {
    connectSignal(webrtcbin_, "on-ice-candidate", G_CALLBACK(Link::onCandidate), link_);
    connectSignal(webrtcbin_, "notify::connection-state", G_CALLBACK(Link::onConnectionState), link_);
    connectSignal(webrtcbin_, "deep-element-added", G_CALLBACK(Link::onElementAdded), link_);
    connectSignal(webrtcbin_, "pad-added", G_CALLBACK(Link::onPadAdded), link_);
}

bool WebRtcPipeline::setRemoteDescription(const std::string& sdp) {
    return applyDescription("set-remote-description", GST_WEBRTC_SDP_TYPE_OFFER, sdp);
}

bool WebRtcPipeline::setLocalDescription(const std::string& sdp) {
    if (!applyDescription("set-local-description", GST_WEBRTC_SDP_TYPE_ANSWER, sdp)) {
        return false;
    }
    watchFeedback();
    return true;
}

// All media are bundled and share one RTP session, which exists only once the description is set.
void WebRtcPipeline::watchFeedback() {
    const GstPtr<GstElement> rtpbin(gst_bin_get_by_name(GST_BIN(webrtcbin_), "rtpbin"));
    GObject* found = nullptr;
    g_signal_emit_by_name(rtpbin.get(), "get-internal-session", 0U, &found);
    const GstPtr<GObject> session(found);
    if (session != nullptr) {
        connectSignal(session.get(), "on-feedback-rtcp", G_CALLBACK(Link::onFeedback), link_);
    }
}

bool WebRtcPipeline::applyDescription(const char* action, GstWebRTCSDPType type, const std::string& sdp) {
    GstSDPMessage* message = nullptr;
    if (gst_sdp_message_new_from_text(sdp.c_str(), &message) != GST_SDP_OK) {
        logError(std::string(action) + ": the text is no session description");
        return false;
    }
    const GstPtr<GstWebRTCSessionDescription> description(gst_webrtc_session_description_new(type, message));
    const Reply reply(
        [&](GstPromise* promise) { g_signal_emit_by_name(webrtcbin_, action, description.get(), promise); });
    if (!reply.accepted()) {
        logError(std::string(action) + ": " + reply.error());
    }
    return reply.accepted();
}

std::unique_ptr<MediaSender> WebRtcPipeline::addMedia(const NegotiatedMedia& media) {
    const auto ssrc = static_cast<guint>(g_random_int_range(1, G_MAXINT32));
    const GstPtr<GstCaps> caps = mediaCaps(media, ssrc);
    if (!sends(media.direction)) {
        GstWebRTCRTPTransceiver* transceiver = nullptr;
        g_signal_emit_by_name(webrtcbin_, "add-transceiver", toGst(media.direction), caps.get(), &transceiver);
        const GstPtr<GstWebRTCRTPTransceiver> owner(transceiver);
        return nullptr;
    }

    GstPadTemplate* const padTemplate = gst_element_get_pad_template(webrtcbin_, "sink_%u");
    const std::string name = "sink_" + std::to_string(media.mLineIndex);
    const GstPtr<GstPad> pad(gst_element_request_pad(webrtcbin_, padTemplate, name.c_str(), caps.get()));
    if (pad == nullptr) {
        logError("webrtcbin gives no pad for m-line " + std::to_string(media.mLineIndex));
        return nullptr;
    }
    GstWebRTCRTPTransceiver* found = nullptr;
    g_object_set(pad.get(), "msid", media.streamId.c_str(), nullptr);
    g_object_get(pad.get(), "transceiver", &found, nullptr);
    const GstPtr<GstWebRTCRTPTransceiver> transceiver(found);
    g_object_set(transceiver.get(), "codec-preferences", caps.get(), "direction", toGst(media.direction), nullptr);
    if (media.codec != RTC_CODEC_MULAW) {
        g_object_set(transceiver.get(), "do-nack", TRUE, nullptr);
    }
    return MediaSender::create(pipeline_.get(), pad.get(), media.codec, media.format.payloadType, ssrc, clock_);
}

std::optional<std::string> WebRtcPipeline::createAnswer() {
    const Reply reply(
        [this](GstPromise* promise) { g_signal_emit_by_name(webrtcbin_, "create-answer", nullptr, promise); });
    GstWebRTCSessionDescription* created = nullptr;
    if (!reply.accepted() || reply.structure() == nullptr ||
        !gst_structure_get(reply.structure(), "answer", GST_TYPE_WEBRTC_SESSION_DESCRIPTION, &created, nullptr)) {
        logError("create-answer: " + reply.error());
        return std::nullopt;
    }
    const GstPtr<GstWebRTCSessionDescription> answer(created);
    return descriptionText(answer.get());
}

std::string WebRtcPipeline::localDescription() const {
    GstWebRTCSessionDescription* current = nullptr;
    g_object_get(webrtcbin_, "local-description", &current, nullptr);
    const GstPtr<GstWebRTCSessionDescription> description(current);
    return description == nullptr ? "" : descriptionText(description.get());
}

void WebRtcPipeline::addCandidate(const std::string& candidateLine) {
    // Everything is bundled, so each candidate belongs to the transport of the first m-line.
    g_signal_emit_by_name(webrtcbin_, "add-ice-candidate", 0U, candidateLine.c_str());
}

std::unique_ptr<Reply> WebRtcPipeline::statistics() const {
    return std::make_unique<Reply>(
        [this](GstPromise* promise) { g_signal_emit_by_name(webrtcbin_, "get-stats", nullptr, promise); });
}

std::optional<ConnectionMonitor::Clock::time_point> WebRtcPipeline::lastPacket() const {
    const ConnectionMonitor::Clock::rep count = link_->lastPacket;
    if (count == 0) {
        return std::nullopt;
    }
    return ConnectionMonitor::Clock::time_point(ConnectionMonitor::Clock::duration(count));
}

}  // namespace zelrtc::hostsdk
