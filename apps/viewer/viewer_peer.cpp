#include "viewer_peer.h"

#include <gst/sdp/sdp.h>

#include <stdexcept>

#include "gst/description.h"
#include "gst/dtls.h"
#include "gst/ice_agent.h"
#include "gst/reply.h"
#include "transport_statistics.h"

namespace zelrtc::viewer {
namespace {

constexpr const char* kVideoCaps =
    "application/x-rtp,media=video,encoding-name=H264,clock-rate=90000,payload=96,packetization-mode=(string)1,"
    "profile-level-id=(string)42e01f,level-asymmetry-allowed=(string)1";
constexpr const char* kAudioCaps = "application/x-rtp,media=audio,encoding-name=PCMU,clock-rate=8000,payload=0";
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

std::vector<std::string> midsOf(const GstSDPMessage* message) {
    std::vector<std::string> mids;
    for (guint i = 0; i < gst_sdp_message_medias_len(message); ++i) {
        const gchar* mid = gst_sdp_media_get_attribute_val(gst_sdp_message_get_media(message, i), "mid");
        mids.emplace_back(mid == nullptr ? "" : mid);
    }
    return mids;
}

}  // namespace

ViewerPeer::ViewerPeer(const Options& options, PeerListener& listener, CallStatistics& statistics)
    : listener_(listener),
      pipeline_(gst_pipeline_new(nullptr)),
      webrtc_(gst::makeElement("webrtcbin")),
      video_(statistics, options.decode),
      audio_(statistics, !options.recordPath.empty()) {
    gst_object_ref_sink(pipeline_.get());
    gst_bin_add_many(GST_BIN(pipeline_.get()), webrtc_, video_.bin(), audio_.bin(), nullptr);
    g_object_set(webrtc_, "bundle-policy", GST_WEBRTC_BUNDLE_POLICY_MAX_BUNDLE, "latency",
                 static_cast<guint>(options.jitterBuffer.count()), nullptr);
    if (!options.passOn.empty()) {
        addPassOn(options.passOn, statistics);
    }
    configureIce(options);
    gst::dropData(webrtc_);
    askForLostPackets();
    connectSignals();
    addReceiver(kVideoCaps, true);
    if (options.talk) {
        addTalk(statistics);
    } else {
        addReceiver(kAudioCaps, false);
    }
    gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING);
}

ViewerPeer::~ViewerPeer() {
    g_signal_handlers_disconnect_by_data(webrtc_, this);
    gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
}

void ViewerPeer::configureIce(const Options& options) {
    if (options.relayOnly) {
        g_object_set(webrtc_, "ice-transport-policy", GST_WEBRTC_ICE_TRANSPORT_POLICY_RELAY, nullptr);
    }
    for (const IceServer& server : options.iceServers) {
        if (!gst::addIceServer(webrtc_, server.gstreamerUri())) {
            throw std::runtime_error("GStreamer does not take the ICE server " + server.url);
        }
    }
    gst::speedUpAgent(webrtc_);
    for (const std::string& address : options.localAddresses) {
        gst::gatherOn(webrtc_, address);
    }
    if (options.localAddresses.empty()) {
        gst::gatherOnLoopbackIfAlone(webrtc_);
    }
}

// webrtcbin 1.22 negotiates retransmission but never requests any.
void ViewerPeer::askForLostPackets() {
    g_signal_connect(gst::elementOf(webrtc_, "rtpbin").get(), "new-jitterbuffer",
                     G_CALLBACK(&ViewerPeer::onJitterBuffer), nullptr);
}

void ViewerPeer::connectSignals() {
    g_signal_connect(webrtc_, "pad-added", G_CALLBACK(&ViewerPeer::onPadAdded), this);
    g_signal_connect(webrtc_, "on-ice-candidate", G_CALLBACK(&ViewerPeer::onIceCandidate), this);
    g_signal_connect(webrtc_, "notify::connection-state", G_CALLBACK(&ViewerPeer::onConnectionState), this);
    g_signal_connect(webrtc_, "notify::ice-connection-state", G_CALLBACK(&ViewerPeer::onIceState), this);
    g_signal_connect(gst::niceAgent(webrtc_).get(), "candidate-gathering-done",
                     G_CALLBACK(&ViewerPeer::onGatheringDone), this);
}

void ViewerPeer::addReceiver(const char* caps, bool retransmits) {
    const gst::GstPtr<GstCaps> codec(gst_caps_from_string(caps));
    GstWebRTCRTPTransceiver* added = nullptr;
    g_signal_emit_by_name(webrtc_, "add-transceiver", GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY, codec.get(),
                          &added);
    const gst::GstPtr<GstWebRTCRTPTransceiver> transceiver(added);
    g_object_set(transceiver.get(), "do-nack", retransmits ? TRUE : FALSE, nullptr);
}

void ViewerPeer::addTalk(CallStatistics& statistics) {
    talk_ = std::make_unique<ToneSender>(statistics);
    gst_bin_add(GST_BIN(pipeline_.get()), talk_->bin());
    const gst::GstPtr<GstCaps> codec(gst_caps_from_string(kAudioCaps));
    GstPadTemplate* pads = gst_element_get_pad_template(webrtc_, "sink_%u");
    const gst::GstPtr<GstPad> in(gst_element_request_pad(webrtc_, pads, nullptr, codec.get()));
    const auto transceiver = gst::ownedProperty<GstWebRTCRTPTransceiver>(in.get(), "transceiver");
    g_object_set(transceiver.get(), "codec-preferences", codec.get(), nullptr);
    const gst::GstPtr<GstPad> out(gst_element_get_static_pad(talk_->bin(), "src"));
    gst_pad_link(out.get(), in.get());
}

void ViewerPeer::addPassOn(const std::vector<RtpAddress>& addresses, CallStatistics& statistics) {
    passOn_ = std::make_unique<PassOn>(addresses, statistics, [this] { listener_.onKeyFrameWanted(); });
    gst_bin_add(GST_BIN(pipeline_.get()), passOn_->bin());
    gst_element_link_pads(passOn_->bin(), "video_src", video_.bin(), "sink");
    if (passOn_->takesAudio()) {
        gst_element_link_pads(passOn_->bin(), "audio_src", audio_.bin(), "sink");
    }
}

std::string ViewerPeer::makeOffer() {
    const gst::Description offer = gst::createOffer(webrtc_);
    mids_ = midsOf(offer->sdp);
    gst::setLocalDescription(webrtc_, offer);
    return gst::writeDescription(offer);
}

std::string ViewerPeer::currentOffer() const {
    // So every candidate that webrtcbin has been told of stands in the description.
    gst::waitUntilIdle(webrtc_);
    return gst::writeDescription(gst::localDescription(webrtc_));
}

void ViewerPeer::takeAnswer(const std::string& sdp) {
    gst::setRemoteDescription(webrtc_, gst::readDescription(GST_WEBRTC_SDP_TYPE_ANSWER, sdp));
}

void ViewerPeer::addRemoteCandidate(const Candidate& candidate) {
    g_signal_emit_by_name(webrtc_, "add-ice-candidate", candidate.line, candidate.text.c_str());
}

void ViewerPeer::startTalking() {
    if (talk_ != nullptr) {
        talk_->start();
    }
}

CallRecord::Transport ViewerPeer::transport() const {
    return readTransport(gst::Reply(webrtc_, "get-stats"));
}

void ViewerPeer::writeRecording(const std::string& path) const {
    audio_.writeWav(path);
}

void ViewerPeer::onJitterBuffer(GstElement* /*rtpbin*/, GstElement* jitterBuffer, guint /*session*/, guint /*ssrc*/,
                                gpointer /*data*/) {
    // The first packet must not wait for earlier ones: there are none.
    g_object_set(jitterBuffer, "do-retransmission", TRUE, "faststart-min-packets", 1U, "add-reference-timestamp-meta",
                 TRUE, nullptr);
}

void ViewerPeer::onPadAdded(GstElement* /*webrtc*/, GstPad* pad, gpointer self) {
    if (GST_PAD_IS_SRC(pad)) {
        static_cast<ViewerPeer*>(self)->receive(pad);
    }
}

void ViewerPeer::receive(GstPad* pad) {
    const auto transceiver = gst::ownedProperty<GstWebRTCRTPTransceiver>(pad, "transceiver");
    const auto kind = gst::plainProperty<GstWebRTCKind>(transceiver.get(), "kind");
    const bool isVideo = kind == GST_WEBRTC_KIND_VIDEO;
    const gst::GstPtr<GstPad> in = entrance(isVideo);
    gst_pad_link(pad, in.get());
}

gst::GstPtr<GstPad> ViewerPeer::entrance(bool isVideo) const {
    if (passOn_ != nullptr && (isVideo || passOn_->takesAudio())) {
        return gst::GstPtr<GstPad>(gst_element_get_static_pad(passOn_->bin(), isVideo ? "video_sink" : "audio_sink"));
    }
    return gst::GstPtr<GstPad>(gst_element_get_static_pad(isVideo ? video_.bin() : audio_.bin(), "sink"));
}

void ViewerPeer::onIceCandidate(GstElement* /*webrtc*/, guint line, gchar* text, gpointer self) {
    auto* peer = static_cast<ViewerPeer*>(self);
    const std::string mid = line < peer->mids_.size() ? peer->mids_[line] : "";
    peer->listener_.onLocalCandidate({line, mid, text});
}

void ViewerPeer::onConnectionState(GstElement* webrtc, GParamSpec* /*spec*/, gpointer self) {
    const auto state = gst::plainProperty<GstWebRTCPeerConnectionState>(webrtc, "connection-state");
    static_cast<ViewerPeer*>(self)->listener_.onState(nameOf(state));
}

void ViewerPeer::onIceState(GstElement* webrtc, GParamSpec* /*spec*/, gpointer self) {
    const auto state = gst::plainProperty<GstWebRTCICEConnectionState>(webrtc, "ice-connection-state");
    if (state == GST_WEBRTC_ICE_CONNECTION_STATE_CONNECTED || state == GST_WEBRTC_ICE_CONNECTION_STATE_COMPLETED) {
        static_cast<ViewerPeer*>(self)->listener_.onIceConnected();
    }
}

// From the agent, because webrtcbin 1.22 misses the end if a candidate arrives while it checks for it.
void ViewerPeer::onGatheringDone(GObject* /*agent*/, guint /*stream*/, gpointer self) {
    static_cast<ViewerPeer*>(self)->listener_.onGathered();
}

}  // namespace zelrtc::viewer
