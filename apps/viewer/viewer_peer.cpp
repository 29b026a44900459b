#include "viewer_peer.h"

#include <gst/sdp/sdp.h>

#include <stdexcept>

#include "network_interfaces.h"

namespace zelrtc::viewer {
namespace {

constexpr const char* kVideoCaps =
    "application/x-rtp,media=video,encoding-name=H264,clock-rate=90000,payload=96,packetization-mode=(string)1,"
    "profile-level-id=(string)42e01f,level-asymmetry-allowed=(string)1";
constexpr const char* kAudioCaps = "application/x-rtp,media=audio,encoding-name=PCMU,clock-rate=8000,payload=0";
constexpr const char* kTalkChain =
    "audiotestsrc is-live=true wave=sine freq=700 volume=0.5 samplesperbuffer=160 ! audio/x-raw,rate=8000,channels=1 ! "
    "mulawenc ! rtppcmupay pt=0 min-ptime=20000000 max-ptime=20000000 ! "
    "valve name=gate drop=true drop-mode=forward-sticky-events";

GstElement* makeElement(const char* factory) {
    GstElement* element = gst_element_factory_make(factory, nullptr);
    if (element == nullptr) {
        throw std::runtime_error(std::string("GStreamer's element ") + factory + " is not installed");
    }
    return element;
}

template <typename Enum>
Enum enumProperty(GstElement* element, const char* name) {
    Enum value{};
    g_object_get(element, name, &value, nullptr);
    return value;
}

ObjectRef objectProperty(gpointer owner, const char* name) {
    GObject* object = nullptr;
    g_object_get(owner, name, &object, nullptr);
    return ObjectRef(object);
}

void gatherOn(GObject* agent, const std::string& address) {
    gboolean added = FALSE;
    g_signal_emit_by_name(agent, "add-local-ip-address", address.c_str(), &added);
    if (!added) {
        throw std::runtime_error("not an address to gather on: " + address);
    }
}

const char* nameOf(GstWebRTCPeerConnectionState state) {
    switch (state) {
        case GST_WEBRTC_PEER_CONNECTION_STATE_NEW:
            return "new";
        case GST_WEBRTC_PEER_CONNECTION_STATE_CONNECTING:
            return "connecting";
        case GST_WEBRTC_PEER_CONNECTION_STATE_CONNECTED:
            return "connected";
        case GST_WEBRTC_PEER_CONNECTION_STATE_DISCONNECTED:
            return "disconnected";
        case GST_WEBRTC_PEER_CONNECTION_STATE_FAILED:
            return "failed";
        case GST_WEBRTC_PEER_CONNECTION_STATE_CLOSED:
            return "closed";
    }
    return "unknown";
}

DescriptionRef parseDescription(const std::string& sdp, GstWebRTCSDPType type) {
    GstSDPMessage* message = nullptr;
    gst_sdp_message_new(&message);
    const auto* text = reinterpret_cast<const guint8*>(sdp.data());
    if (gst_sdp_message_parse_buffer(text, static_cast<guint>(sdp.size()), message) != GST_SDP_OK) {
        gst_sdp_message_free(message);
        throw std::runtime_error("the camera's answer is no session description");
    }
    return DescriptionRef(gst_webrtc_session_description_new(type, message));
}

std::vector<std::string> midsOf(const GstSDPMessage* message) {
    std::vector<std::string> mids;
    for (guint i = 0; i < gst_sdp_message_medias_len(message); ++i) {
        const gchar* mid = gst_sdp_media_get_attribute_val(gst_sdp_message_get_media(message, i), "mid");
        mids.emplace_back(mid == nullptr ? "" : mid);
    }
    return mids;
}

std::string textField(const GstStructure* structure, const char* name) {
    const gchar* text = gst_structure_get_string(structure, name);
    return text == nullptr ? "" : text;
}

// The "type" in a candidate's statistics is unreliable; the start of its id is not.
void takeCandidate(const GstStructure* entry, const std::string& id, CallRecord::Transport& transport) {
    if (id.find("ice-candidate-local") != std::string::npos) {
        transport.localType = textField(entry, "candidate-type");
        transport.protocol = textField(entry, "protocol");
    } else if (id.find("ice-candidate-remote") != std::string::npos) {
        transport.remoteType = textField(entry, "candidate-type");
    }
}

// The type differs between versions of GStreamer.
std::int64_t numberField(const GstStructure* structure, const char* name) {
    const GValue* field = gst_structure_get_value(structure, name);
    GValue number = G_VALUE_INIT;
    g_value_init(&number, G_TYPE_INT64);
    const bool isNumber = field != nullptr && g_value_transform(field, &number);
    return isNumber ? g_value_get_int64(&number) : 0;
}

void takeInbound(const GstStructure* entry, CallRecord::Transport& transport) {
    GstWebRTCStatsType type{};
    gst_structure_get(entry, "type", GST_TYPE_WEBRTC_STATS_TYPE, &type, nullptr);
    if (type != GST_WEBRTC_STATS_INBOUND_RTP) {
        return;
    }
    transport.packetsReceived += numberField(entry, "packets-received");
    transport.packetsLost += numberField(entry, "packets-lost");
}

gboolean takeStatistic(GQuark /*field*/, const GValue* value, gpointer transport) {
    if (GST_VALUE_HOLDS_STRUCTURE(value)) {
        const GstStructure* entry = gst_value_get_structure(value);
        auto& collected = *static_cast<CallRecord::Transport*>(transport);
        takeCandidate(entry, textField(entry, "id"), collected);
        takeInbound(entry, collected);
    }
    return TRUE;
}

}  // namespace

ViewerPeer::ViewerPeer(const Options& options, PeerListener& listener, CallStatistics& statistics)
    : listener_(listener),
      statistics_(statistics),
      pipeline_(gst_pipeline_new(nullptr)),
      webrtc_(makeElement("webrtcbin")),
      video_(statistics, options.decode),
      audio_(statistics, !options.recordPath.empty()) {
    gst_object_ref_sink(pipeline_.get());
    gst_bin_add_many(GST_BIN(pipeline_.get()), webrtc_, video_.bin(), audio_.bin(), nullptr);
    configureIce(options);
    askForLostPackets();
    connectSignals();
    addVideo();
    addAudio(options.talk);
    gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING);
}

ViewerPeer::~ViewerPeer() {
    g_signal_handlers_disconnect_by_data(webrtc_, this);
    gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
}

void ViewerPeer::configureIce(const Options& options) {
    g_object_set(webrtc_, "bundle-policy", GST_WEBRTC_BUNDLE_POLICY_MAX_BUNDLE, "latency",
                 static_cast<guint>(options.jitterBuffer.count()), nullptr);
    if (options.relayOnly) {
        g_object_set(webrtc_, "ice-transport-policy", GST_WEBRTC_ICE_TRANSPORT_POLICY_RELAY, nullptr);
    }
    for (const IceServer& server : options.iceServers) {
        const std::string uri = server.gstreamerUri();
        gboolean taken = TRUE;
        if (server.isStun()) {
            g_object_set(webrtc_, "stun-server", uri.c_str(), nullptr);
        } else {
            g_signal_emit_by_name(webrtc_, "add-turn-server", uri.c_str(), &taken);
        }
        if (!taken) {
            throw std::runtime_error("GStreamer does not take the ICE server " + server.url);
        }
    }
    const ObjectRef agent = objectProperty(webrtc_, "ice-agent");
    const ObjectRef nice = objectProperty(agent.get(), "agent");
    // Asking the router to open a port and waiting long for a lost TURN packet would only delay the offer.
    // A long pause between connectivity checks would delay the connection: RFC 8445 allows 5 ms.
    g_object_set(nice.get(), "upnp", FALSE, "stun-max-retransmissions", 2U, "stun-pacing-timer", 5U, nullptr);
    g_signal_connect(nice.get(), "candidate-gathering-done", G_CALLBACK(&ViewerPeer::onGatheringDone), this);
    std::vector<std::string> addresses = options.localAddresses;
    if (addresses.empty() && hasOnlyLoopback()) {
        addresses.emplace_back("127.0.0.1");
    }
    for (const std::string& address : addresses) {
        gatherOn(agent.get(), address);
    }
}

// webrtcbin 1.22 negotiates retransmission but never requests any.
void ViewerPeer::askForLostPackets() {
    GstElement* rtpbin = gst_bin_get_by_name(GST_BIN(webrtc_), "rtpbin");
    g_signal_connect(rtpbin, "new-jitterbuffer", G_CALLBACK(&ViewerPeer::onJitterBuffer), nullptr);
    gst_object_unref(rtpbin);
}

void ViewerPeer::connectSignals() {
    g_signal_connect(webrtc_, "pad-added", G_CALLBACK(&ViewerPeer::onPadAdded), this);
    g_signal_connect(webrtc_, "on-ice-candidate", G_CALLBACK(&ViewerPeer::onIceCandidate), this);
    g_signal_connect(webrtc_, "notify::connection-state", G_CALLBACK(&ViewerPeer::onConnectionState), this);
    g_signal_connect(webrtc_, "notify::ice-connection-state", G_CALLBACK(&ViewerPeer::onIceState), this);
}

void ViewerPeer::addVideo() {
    const CapsRef codec(gst_caps_from_string(kVideoCaps));
    GstWebRTCRTPTransceiver* transceiver = nullptr;
    g_signal_emit_by_name(webrtc_, "add-transceiver", GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY, codec.get(),
                          &transceiver);
    g_object_set(transceiver, "do-nack", TRUE, nullptr);
    gst_object_unref(transceiver);
}

void ViewerPeer::addAudio(bool talk) {
    const CapsRef codec(gst_caps_from_string(kAudioCaps));
    if (talk) {
        addTalk(codec.get());
        return;
    }
    GstWebRTCRTPTransceiver* transceiver = nullptr;
    g_signal_emit_by_name(webrtc_, "add-transceiver", GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY, codec.get(),
                          &transceiver);
    gst_object_unref(transceiver);
}

void ViewerPeer::addTalk(GstCaps* codec) {
    GstElement* talk = makeBin(kTalkChain);
    gst_bin_add(GST_BIN(pipeline_.get()), talk);
    gate_ = gst_bin_get_by_name(GST_BIN(talk), "gate");
    gst_object_unref(gate_);  // the pipeline keeps it

    const PadRef out(gst_element_get_static_pad(talk, "src"));
    gst_pad_add_probe(out.get(), GST_PAD_PROBE_TYPE_BUFFER, &ViewerPeer::onTalkPacket, this, nullptr);

    GstPadTemplate* pads = gst_element_get_pad_template(webrtc_, "sink_%u");
    const PadRef in(gst_element_request_pad(webrtc_, pads, nullptr, codec));
    GstWebRTCRTPTransceiver* transceiver = nullptr;
    g_object_get(in.get(), "transceiver", &transceiver, nullptr);
    g_object_set(transceiver, "codec-preferences", codec, nullptr);
    gst_object_unref(transceiver);
    gst_pad_link(out.get(), in.get());
}

PromiseRef ViewerPeer::waitFor(const char* operation, GstWebRTCSessionDescription* description) const {
    PromiseRef promise(gst_promise_new());
    g_signal_emit_by_name(webrtc_, operation, description, promise.get());
    gst_promise_wait(promise.get());
    const GstStructure* reply = gst_promise_get_reply(promise.get());
    GError* error = nullptr;
    if (reply == nullptr || !gst_structure_get(reply, "error", G_TYPE_ERROR, &error, nullptr)) {
        return promise;
    }
    const std::string reason = std::string(operation) + ": " + error->message;
    g_error_free(error);
    throw std::runtime_error(reason);
}

std::string ViewerPeer::makeOffer() {
    const PromiseRef promise = waitFor("create-offer", nullptr);
    GstWebRTCSessionDescription* made = nullptr;
    const GstStructure* reply = gst_promise_get_reply(promise.get());
    if (reply == nullptr || !gst_structure_get(reply, "offer", GST_TYPE_WEBRTC_SESSION_DESCRIPTION, &made, nullptr)) {
        throw std::runtime_error("webrtcbin made no offer");
    }
    const DescriptionRef offer(made);
    mids_ = midsOf(offer->sdp);
    waitFor("set-local-description", offer.get());
    return takeText(gst_sdp_message_as_text(offer->sdp));
}

std::string ViewerPeer::currentOffer() const {
    // get-stats is a barrier: its reply follows all queued candidates.
    waitFor("get-stats", nullptr);
    GstWebRTCSessionDescription* found = nullptr;
    g_object_get(webrtc_, "local-description", &found, nullptr);
    const DescriptionRef offer(found);
    return takeText(gst_sdp_message_as_text(offer->sdp));
}

void ViewerPeer::takeAnswer(const std::string& sdp) {
    const DescriptionRef answer = parseDescription(sdp, GST_WEBRTC_SDP_TYPE_ANSWER);
    waitFor("set-remote-description", answer.get());
}

void ViewerPeer::addRemoteCandidate(const Candidate& candidate) {
    g_signal_emit_by_name(webrtc_, "add-ice-candidate", candidate.line, candidate.text.c_str());
}

void ViewerPeer::startTalking() {
    if (gate_ != nullptr) {
        g_object_set(gate_, "drop", FALSE, nullptr);
    }
}

CallRecord::Transport ViewerPeer::transport() const {
    const PromiseRef promise = waitFor("get-stats", nullptr);
    CallRecord::Transport transport;
    if (const GstStructure* reply = gst_promise_get_reply(promise.get())) {
        gst_structure_foreach(reply, &takeStatistic, &transport);
    }
    return transport;
}

void ViewerPeer::writeRecording(const std::string& path) const {
    audio_.writeWav(path);
}

void ViewerPeer::onJitterBuffer(GstElement* /*rtpbin*/, GstElement* jitterBuffer, guint /*session*/, guint /*ssrc*/,
                                gpointer /*data*/) {
    // The first packet must not wait for earlier ones: there are none.
    g_object_set(jitterBuffer, "do-retransmission", TRUE, "faststart-min-packets", 1U, nullptr);
}

void ViewerPeer::onPadAdded(GstElement* /*webrtc*/, GstPad* pad, gpointer self) {
    if (GST_PAD_IS_SRC(pad)) {
        static_cast<ViewerPeer*>(self)->receive(pad);
    }
}

void ViewerPeer::receive(GstPad* pad) {
    GstWebRTCRTPTransceiver* transceiver = nullptr;
    g_object_get(pad, "transceiver", &transceiver, nullptr);
    GstWebRTCKind kind{};
    g_object_get(transceiver, "kind", &kind, nullptr);
    gst_object_unref(transceiver);
    GstElement* receiver = kind == GST_WEBRTC_KIND_VIDEO ? video_.bin() : audio_.bin();
    const PadRef in(gst_element_get_static_pad(receiver, "sink"));
    gst_pad_link(pad, in.get());
}

void ViewerPeer::onIceCandidate(GstElement* /*webrtc*/, guint line, gchar* text, gpointer self) {
    auto* peer = static_cast<ViewerPeer*>(self);
    const std::string mid = line < peer->mids_.size() ? peer->mids_[line] : "";
    peer->listener_.onLocalCandidate({line, mid, text});
}

void ViewerPeer::onConnectionState(GstElement* webrtc, GParamSpec* /*spec*/, gpointer self) {
    const auto state = enumProperty<GstWebRTCPeerConnectionState>(webrtc, "connection-state");
    static_cast<ViewerPeer*>(self)->listener_.onState(nameOf(state));
}

void ViewerPeer::onIceState(GstElement* webrtc, GParamSpec* /*spec*/, gpointer self) {
    const auto state = enumProperty<GstWebRTCICEConnectionState>(webrtc, "ice-connection-state");
    if (state == GST_WEBRTC_ICE_CONNECTION_STATE_CONNECTED || state == GST_WEBRTC_ICE_CONNECTION_STATE_COMPLETED) {
        static_cast<ViewerPeer*>(self)->listener_.onIceConnected();
    }
}

// From the agent, because webrtcbin 1.22 misses the end if a candidate arrives while it checks for it.
void ViewerPeer::onGatheringDone(GObject* /*agent*/, guint /*stream*/, gpointer self) {
    static_cast<ViewerPeer*>(self)->listener_.onGathered();
}

GstPadProbeReturn ViewerPeer::onTalkPacket(GstPad* /*pad*/, GstPadProbeInfo* /*info*/, gpointer self) {
    static_cast<ViewerPeer*>(self)->statistics_.audioPacketSent();
    return GST_PAD_PROBE_OK;
}

}  // namespace zelrtc::viewer
