#include "engine/webrtc_pipeline.h"

#include <stdexcept>
#include <utility>

#include "gst/camera_end.h"
#include "gst/dtls.h"
#include "gst/ice_agent.h"
#include "text/log.h"

namespace zelrtc::hostsdk {

namespace {

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

gst::Track trackOf(const NegotiatedMedia& media) {
    gst::Track track;
    track.mLineIndex = media.mLineIndex;
    track.codec = media.codec == RTC_CODEC_MULAW ? gst::Codec::kMulaw : gst::Codec::kH264;
    track.payloadType = media.payloadType;
    track.direction = toGst(media.direction);
    track.streamId = media.streamId;
    track.areUnitsWhole = true;
    return track;
}

// Whether the operation went through; the log says why not.
template <typename Operation>
bool succeeds(Operation operation) {
    try {
        operation();
        return true;
    } catch (const std::runtime_error& error) {
        logError(error.what());
        return false;
    }
}

void dropMessages(GstElement* pipeline) {
    GstBus* const bus = gst_pipeline_get_bus(GST_PIPELINE(pipeline));
    gst_bus_set_sync_handler(
        bus,
        [](GstBus*, GstMessage* message, gpointer) {
            gst_message_unref(message);
            return GST_BUS_DROP;
        },
        nullptr, nullptr);
    gst_object_unref(bus);
}

// An application may begin with frames that are older than the connection, and no time is below zero.
void beginEarly(GstElement* pipeline) {
    constexpr GstClockTime kEarlier = 10 * GST_SECOND;
    GstClock* const clock = gst_system_clock_obtain();
    gst_pipeline_use_clock(GST_PIPELINE(pipeline), clock);
    gst_element_set_start_time(pipeline, GST_CLOCK_TIME_NONE);
    gst_element_set_base_time(pipeline, gst_clock_get_time(clock) - kEarlier);
    gst_object_unref(clock);
}

}  // namespace

std::unique_ptr<WebRtcPipeline> WebRtcPipeline::create(bool relayOnly, const std::vector<IceServer>& servers,
                                                       PipelinePosters posters, PipelineEvents events) {
    GstElement* const webrtcbin = gst_element_factory_make("webrtcbin", nullptr);
    if (webrtcbin == nullptr) {
        logError("GStreamer has no webrtcbin: its plugins bad and nice are needed");
        return nullptr;
    }
    gst::GstPtr<GstElement> pipeline(gst_pipeline_new(nullptr));
    gst_bin_add(GST_BIN(pipeline.get()), webrtcbin);
    auto link = std::make_shared<PipelineLink>(std::move(posters), std::move(events));

    std::unique_ptr<WebRtcPipeline> result(new WebRtcPipeline(std::move(pipeline), webrtcbin, std::move(link)));
    result->configure(relayOnly, servers);
    PipelineLink::connect(result->link_, webrtcbin);
    beginEarly(result->pipeline_.get());
    if (gst_element_set_state(result->pipeline_.get(), GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE) {
        logError("webrtcbin does not start: GStreamer's plugins good, bad and nice are needed");
        return nullptr;
    }
    return result;
}

WebRtcPipeline::WebRtcPipeline(gst::GstPtr<GstElement> pipeline, GstElement* webrtcbin,
                               std::shared_ptr<PipelineLink> link)
    : pipeline_(std::move(pipeline)), webrtcbin_(webrtcbin), link_(std::move(link)) {
}

WebRtcPipeline::~WebRtcPipeline() {
    gst::sendDtlsClose(webrtcbin_);
    // Closing while it still gathers candidates would leak their sockets.
    gst::waitUntilIdle(webrtcbin_);
    gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
}

void WebRtcPipeline::configure(bool relayOnly, const std::vector<IceServer>& servers) {
    gst::configureCameraEnd(webrtcbin_);
    gst::dropData(webrtcbin_);
    gst::gatherOnLoopbackIfAlone(webrtcbin_);
    g_object_set(webrtcbin_, "ice-transport-policy",
                 relayOnly ? GST_WEBRTC_ICE_TRANSPORT_POLICY_RELAY : GST_WEBRTC_ICE_TRANSPORT_POLICY_ALL, nullptr);
    addServers(webrtcbin_, servers);
    // Nobody reads the bus, so its messages would pile up.
    dropMessages(pipeline_.get());
}

bool WebRtcPipeline::setRemoteDescription(const std::string& sdp, size_t transports) {
    link_->expectTransports(transports);
    return succeeds(
        [&] { gst::setRemoteDescription(webrtcbin_, gst::readDescription(GST_WEBRTC_SDP_TYPE_OFFER, sdp)); });
}

bool WebRtcPipeline::setLocalDescription(const std::string& sdp) {
    return succeeds([&] {
        gst::setLocalDescription(webrtcbin_, gst::readDescription(GST_WEBRTC_SDP_TYPE_ANSWER, sdp));
        PipelineLink::watchFeedback(link_, webrtcbin_);
    });
}

std::unique_ptr<MediaSender> WebRtcPipeline::addMedia(const NegotiatedMedia& media) {
    gst::GstPtr<GstElement> source;
    succeeds([&] { source = gst::addTrack(pipeline_.get(), webrtcbin_, trackOf(media)); });
    const bool isVideo = media.codec != RTC_CODEC_MULAW;
    return source == nullptr ? nullptr
                             : std::make_unique<MediaSender>(pipeline_.get(), std::move(source), isVideo, clock_);
}

std::optional<std::string> WebRtcPipeline::createAnswer() {
    std::optional<std::string> answer;
    succeeds([&] { answer = gst::writeDescription(gst::createAnswer(webrtcbin_)); });
    return answer;
}

void WebRtcPipeline::addCandidate(size_t transport, const std::string& candidateLine) {
    g_signal_emit_by_name(webrtcbin_, "add-ice-candidate", static_cast<guint>(transport), candidateLine.c_str());
}

std::unique_ptr<gst::Reply> WebRtcPipeline::statistics() const {
    return std::make_unique<gst::Reply>(webrtcbin_, "get-stats");
}

std::optional<Clock::time_point> WebRtcPipeline::lastPacket() const {
    return link_->lastPacket(gst::niceAgent(webrtcbin_).get());
}

}  // namespace zelrtc::hostsdk
