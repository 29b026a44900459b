#include "plain_peer.h"

#include <gst/app/gstappsrc.h>
#include <gst/sdp/sdp.h>

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "gst/camera_end.h"
#include "gst/description.h"
#include "gst/ice_agent.h"
#include "gst/reply.h"

namespace zelrtc::bench {

namespace {

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

// The offer's sections as this end answers them: video first, then audio.
gst::Track videoTrack(int payloadType) {
    gst::Track track;
    track.codec = gst::Codec::kH264;
    track.payloadType = payloadType;
    track.direction = GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY;
    return track;
}

gst::Track audioTrack() {
    gst::Track track;
    track.mLineIndex = 1;
    track.direction = GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV;
    return track;
}

}  // namespace

PlainPeer::PlainPeer(std::function<void()> onConnected, Start start)
    : onConnected_(std::move(onConnected)),
      startWith_(start),
      pipeline_(gst_pipeline_new(nullptr)),
      webrtc_(gst::makeElement("webrtcbin")) {
    gst_bin_add(GST_BIN(pipeline_.get()), webrtc_);
    gst::configureCameraEnd(webrtc_);
    gst::gatherOn(webrtc_, gst::kLoopbackAddress);
    g_signal_connect(webrtc_, "on-ice-candidate", G_CALLBACK(onCandidate), this);
    g_signal_connect(webrtc_, "notify::connection-state", G_CALLBACK(onState), this);
    g_signal_connect(webrtc_, "pad-added", G_CALLBACK(onPad), this);
    gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING);
}

PlainPeer::~PlainPeer() {
    g_signal_handlers_disconnect_by_data(webrtc_, this);
    gst::waitUntilIdle(webrtc_);
    gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
    events_->close();
}

std::string PlainPeer::answer(const std::string& offerSdp) {
    const gst::Description offer = gst::readDescription(GST_WEBRTC_SDP_TYPE_OFFER, offerSdp);
    const int payloadType = h264PayloadIn(offer->sdp);
    gst::setRemoteDescription(webrtc_, offer);
    auto video = gst::addTrack(pipeline_.get(), webrtc_, videoTrack(payloadType));
    auto audio = gst::addTrack(pipeline_.get(), webrtc_, audioTrack());
    {
        const std::lock_guard<std::mutex> lock(feedMutex_);
        video_ = std::move(video);
        audio_ = std::move(audio);
    }
    const gst::Description answer = gst::createAnswer(webrtc_);
    gst::setLocalDescription(webrtc_, answer);
    return gst::writeDescription(answer);
}

void PlainPeer::addCandidate(unsigned line, const std::string& candidate) {
    g_signal_emit_by_name(webrtc_, "add-ice-candidate", line, candidate.c_str());
}

void PlainPeer::push(GstElement* source, const uint8_t* data, size_t size) {
    GstBuffer* buffer = gst_buffer_new_memdup(data, size);
    GST_BUFFER_PTS(buffer) = gst_element_get_current_running_time(pipeline_.get());
    gst_app_src_push_buffer(GST_APP_SRC(source), buffer);
}

// A kept key frame is offered again with each picture until it is taken, and another one is the next.
bool PlainPeer::canBegin(const zelrtc::camera::AccessUnit& unit) {
    const bool isKnown = !offeredUs_ || *offeredUs_ == unit.timeUs;
    if (unit.isKeyFrame) {
        offeredUs_ = unit.timeUs;
    }
    return unit.isKeyFrame && (startWith_ == Start::kKept || !isKnown);
}

bool PlainPeer::onVideo(const zelrtc::camera::AccessUnit& unit) {
    const std::lock_guard<std::mutex> lock(feedMutex_);
    hadKeyFrame_ = (hadKeyFrame_ || canBegin(unit)) && isConnected_;
    if (hadKeyFrame_) {
        push(video_.get(), unit.data, unit.size);
    }
    return hadKeyFrame_;
}

void PlainPeer::onAudio(const zelrtc::camera::AudioFrame& frame) {
    const std::lock_guard<std::mutex> lock(feedMutex_);
    if (isConnected_) {
        push(audio_.get(), frame.data, frame.size);
    }
}

void PlainPeer::onCandidate(GstElement* /*webrtc*/, guint line, gchar* text, gpointer self) {
    const nlohmann::json candidate = {{"candidate", text}, {"sdpMid", std::to_string(line)}, {"sdpMLineIndex", line}};
    static_cast<PlainPeer*>(self)->events_->append("candidate", candidate.dump());
}

void PlainPeer::onState(GstElement* webrtc, GParamSpec* /*spec*/, gpointer self) {
    auto* peer = static_cast<PlainPeer*>(self);
    const auto state = gst::plainProperty<GstWebRTCPeerConnectionState>(webrtc, "connection-state");
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
    gst::receiveTrack(pipeline_.get(), pad, gst::Codec::kMulaw,
                      [](GstAppSink* sink) { const gst::GstPtr<GstSample> unused(gst_app_sink_pull_sample(sink)); });
}

}  // namespace zelrtc::bench
