#include "plain_peer.h"

#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <gst/sdp/sdp.h>
#include <gst/webrtc/webrtc.h>

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace zelrtc::bench {

namespace {

constexpr guint kJitterBufferMs = 100;
constexpr guint kStunRetransmissions = 2;
constexpr guint kCheckPacingMs = 5;

std::string stateName(GstWebRTCPeerConnectionState state) {
    switch (state) {
        case GST_WEBRTC_PEER_CONNECTION_STATE_CONNECTING:
            return "connecting";
        case GST_WEBRTC_PEER_CONNECTION_STATE_CONNECTED:
            return "connected";
        case GST_WEBRTC_PEER_CONNECTION_STATE_FAILED:
            return "failed";
        default:
            return "other";
    }
}

// The offer's payload type for H.264.
int h264PayloadIn(const GstSDPMessage* offer) {
    const GstSDPMedia* video = gst_sdp_message_get_media(offer, 0);
    for (guint i = 0; i < gst_sdp_media_attributes_len(video); i++) {
        const GstSDPAttribute* attribute = gst_sdp_media_get_attribute(video, i);
        const std::string value = attribute->value != nullptr ? attribute->value : "";
        if (std::string(attribute->key) == "rtpmap" && value.find("H264/90000") != std::string::npos) {
            return std::stoi(value);
        }
    }
    throw std::runtime_error("the offer has no H.264 in its first section");
}

GstCaps* mediaCaps(const char* media, const char* encoding, int clockRate, int payload, guint ssrc) {
    return gst_caps_new_simple("application/x-rtp", "media", G_TYPE_STRING, media, "encoding-name", G_TYPE_STRING,
                               encoding, "clock-rate", G_TYPE_INT, clockRate, "payload", G_TYPE_INT, payload, "ssrc",
                               G_TYPE_UINT, ssrc, nullptr);
}

GstStructure* await(GstElement* webrtc, const char* action, GstWebRTCSessionDescription* description) {
    GstPromise* promise = gst_promise_new();
    g_signal_emit_by_name(webrtc, action, description, promise);
    gst_promise_wait(promise);
    const GstStructure* reply = gst_promise_get_reply(promise);
    GstStructure* copy = reply != nullptr ? gst_structure_copy(reply) : nullptr;
    gst_promise_unref(promise);
    return copy;
}

void apply(GstElement* webrtc, const char* action, GstWebRTCSessionDescription* description) {
    GstStructure* reply = await(webrtc, action, description);
    if (reply != nullptr) {
        gst_structure_free(reply);
    }
}

GstWebRTCSessionDescription* createAnswer(GstElement* webrtc) {
    GstStructure* reply = await(webrtc, "create-answer", nullptr);
    GstWebRTCSessionDescription* answer = nullptr;
    if (reply != nullptr) {
        gst_structure_get(reply, "answer", GST_TYPE_WEBRTC_SESSION_DESCRIPTION, &answer, nullptr);
        gst_structure_free(reply);
    }
    if (answer == nullptr) {
        throw std::runtime_error("the engine made no answer");
    }
    return answer;
}

}  // namespace

PlainPeer::PlainPeer(std::function<void()> onConnected)
    : onConnected_(std::move(onConnected)),
      pipeline_(gst_pipeline_new(nullptr)),
      webrtc_(gst_element_factory_make("webrtcbin", nullptr)) {
    gst_bin_add(GST_BIN(pipeline_), webrtc_);
    g_object_set(webrtc_, "bundle-policy", GST_WEBRTC_BUNDLE_POLICY_MAX_BUNDLE, "latency", kJitterBufferMs, nullptr);
    configureAgent();
    g_signal_connect(webrtc_, "on-ice-candidate", G_CALLBACK(onCandidate), this);
    g_signal_connect(webrtc_, "notify::connection-state", G_CALLBACK(onState), this);
    g_signal_connect(webrtc_, "pad-added", G_CALLBACK(onPad), this);
    gst_element_set_state(pipeline_, GST_STATE_PLAYING);
}

PlainPeer::~PlainPeer() {
    g_signal_handlers_disconnect_by_data(webrtc_, this);
    // get-stats is a barrier: its reply follows all queued work.
    apply(webrtc_, "get-stats", nullptr);
    gst_element_set_state(pipeline_, GST_STATE_NULL);
    gst_object_unref(pipeline_);
    events_->close();
}

void PlainPeer::configureAgent() {
    GObject* ice = nullptr;
    GObject* agent = nullptr;
    gboolean added = FALSE;
    g_object_get(webrtc_, "ice-agent", &ice, nullptr);
    g_object_set(ice, "ice-tcp", FALSE, nullptr);
    g_signal_emit_by_name(ice, "add-local-ip-address", "127.0.0.1", &added);
    g_object_get(ice, "agent", &agent, nullptr);
    g_object_set(agent, "upnp", FALSE, "stun-max-retransmissions", kStunRetransmissions, "stun-pacing-timer",
                 kCheckPacingMs, nullptr);
    g_object_unref(agent);
    g_object_unref(ice);
}

std::string PlainPeer::answer(const std::string& offerSdp) {
    GstSDPMessage* offer = nullptr;
    if (gst_sdp_message_new_from_text(offerSdp.c_str(), &offer) != GST_SDP_OK) {
        throw std::runtime_error("the offer is no session description");
    }
    const int payload = h264PayloadIn(offer);
    GstWebRTCSessionDescription* remote = gst_webrtc_session_description_new(GST_WEBRTC_SDP_TYPE_OFFER, offer);
    apply(webrtc_, "set-remote-description", remote);
    gst_webrtc_session_description_free(remote);

    const guint videoSsrc = static_cast<guint>(g_random_int_range(1, G_MAXINT32));
    const guint audioSsrc = static_cast<guint>(g_random_int_range(1, G_MAXINT32));
    GstCaps* videoCaps = mediaCaps("video", "H264", 90000, payload, videoSsrc);
    gst_caps_set_simple(videoCaps, "packetization-mode", G_TYPE_STRING, "1", nullptr);
    GstElement* video = addSender(
        0, videoCaps,
        "appsrc name=source is-live=true format=time caps=video/x-h264,stream-format=byte-stream,alignment=au ! "
        "h264parse config-interval=-1 ! rtph264pay aggregate-mode=zero-latency config-interval=-1 mtu=1200 pt=" +
            std::to_string(payload) + " ssrc=" + std::to_string(videoSsrc),
        true);
    GstElement* audio =
        addSender(1, mediaCaps("audio", "PCMU", 8000, 0, audioSsrc),
                  "appsrc name=source is-live=true format=time caps=audio/x-mulaw,rate=8000,channels=1 "
                  "! rtppcmupay min-ptime=20000000 max-ptime=20000000 perfect-rtptime=false pt=0 ssrc=" +
                      std::to_string(audioSsrc),
                  false);
    {
        const std::lock_guard<std::mutex> lock(feedMutex_);
        video_ = video;
        audio_ = audio;
    }
    GstWebRTCSessionDescription* local = createAnswer(webrtc_);
    apply(webrtc_, "set-local-description", local);
    gchar* text = gst_sdp_message_as_text(local->sdp);
    std::string sdp = text;
    g_free(text);
    gst_webrtc_session_description_free(local);
    return sdp;
}

GstElement* PlainPeer::addSender(unsigned line, GstCaps* caps, const std::string& chain, bool retransmits) {
    GstPadTemplate* sinks = gst_element_get_pad_template(webrtc_, "sink_%u");
    GstPad* pad = gst_element_request_pad(webrtc_, sinks, ("sink_" + std::to_string(line)).c_str(), caps);
    GstWebRTCRTPTransceiver* transceiver = nullptr;
    g_object_get(pad, "transceiver", &transceiver, nullptr);
    const auto direction =
        retransmits ? GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY : GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV;
    g_object_set(transceiver, "codec-preferences", caps, "direction", direction, "do-nack", retransmits ? TRUE : FALSE,
                 nullptr);
    gst_object_unref(transceiver);
    gst_caps_unref(caps);

    GstElement* bin = gst_parse_bin_from_description(chain.c_str(), TRUE, nullptr);
    gst_bin_add(GST_BIN(pipeline_), bin);
    GstPad* output = gst_element_get_static_pad(bin, "src");
    gst_pad_link(output, pad);
    gst_object_unref(output);
    gst_object_unref(pad);
    gst_element_sync_state_with_parent(bin);
    GstElement* source = gst_bin_get_by_name(GST_BIN(bin), "source");
    gst_object_unref(source);  // the pipeline keeps it
    return source;
}

void PlainPeer::addCandidate(unsigned line, const std::string& candidate) {
    g_signal_emit_by_name(webrtc_, "add-ice-candidate", line, candidate.c_str());
}

void PlainPeer::push(GstElement* source, const uint8_t* data, size_t size) {
    GstBuffer* buffer = gst_buffer_new_memdup(data, size);
    GST_BUFFER_PTS(buffer) = gst_element_get_current_running_time(pipeline_);
    gst_app_src_push_buffer(GST_APP_SRC(source), buffer);
}

void PlainPeer::onVideo(const zelrtc::camera::AccessUnit& unit) {
    const std::lock_guard<std::mutex> lock(feedMutex_);
    hadKeyFrame_ = isConnected_ && (hadKeyFrame_ || unit.isKeyFrame);
    if (hadKeyFrame_) {
        push(video_, unit.data, unit.size);
    }
}

void PlainPeer::onAudio(const zelrtc::camera::AudioFrame& frame) {
    const std::lock_guard<std::mutex> lock(feedMutex_);
    if (isConnected_) {
        push(audio_, frame.data, frame.size);
    }
}

void PlainPeer::onCandidate(GstElement* /*webrtc*/, guint line, gchar* text, gpointer self) {
    const nlohmann::json candidate = {{"candidate", text}, {"sdpMid", std::to_string(line)}, {"sdpMLineIndex", line}};
    static_cast<PlainPeer*>(self)->events_->append("candidate", candidate.dump());
}

void PlainPeer::onState(GstElement* webrtc, GParamSpec* /*spec*/, gpointer self) {
    auto* peer = static_cast<PlainPeer*>(self);
    GstWebRTCPeerConnectionState state = GST_WEBRTC_PEER_CONNECTION_STATE_NEW;
    g_object_get(webrtc, "connection-state", &state, nullptr);
    {
        const std::lock_guard<std::mutex> lock(peer->feedMutex_);
        peer->isConnected_ = state == GST_WEBRTC_PEER_CONNECTION_STATE_CONNECTED;
    }
    if (state == GST_WEBRTC_PEER_CONNECTION_STATE_CONNECTED) {
        peer->onConnected_();
    }
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - peer->start_).count();
    peer->events_->append("state", nlohmann::json{{"state", stateName(state)}, {"ms", ms}}.dump());
}

void PlainPeer::onPad(GstElement* /*webrtc*/, GstPad* pad, gpointer self) {
    if (GST_PAD_IS_SRC(pad)) {
        static_cast<PlainPeer*>(self)->receiveAudio(pad);
    }
}

void PlainPeer::receiveAudio(GstPad* pad) {
    GstElement* bin = gst_parse_bin_from_description(
        "rtppcmudepay ! appsink name=frames sync=false async=false max-buffers=50 drop=true emit-signals=false", TRUE,
        nullptr);
    gst_bin_add(GST_BIN(pipeline_), bin);
    GstPad* input = gst_element_get_static_pad(bin, "sink");
    gst_pad_link(pad, input);
    gst_object_unref(input);
    GstElement* frames = gst_bin_get_by_name(GST_BIN(bin), "frames");
    GstAppSinkCallbacks callbacks = {};
    callbacks.new_sample = [](GstAppSink* sink, gpointer) {
        gst_sample_unref(gst_app_sink_pull_sample(sink));
        return GST_FLOW_OK;
    };
    gst_app_sink_set_callbacks(GST_APP_SINK(frames), &callbacks, nullptr, nullptr);
    gst_object_unref(frames);
    gst_element_sync_state_with_parent(bin);
}

}  // namespace zelrtc::bench
