/** @file webrtc_pipeline.h webrtcbin and what surrounds it: one call's transport and negotiation. */
#ifndef HOSTSDK_SRC_ENGINE_WEBRTC_PIPELINE_H
#define HOSTSDK_SRC_ENGINE_WEBRTC_PIPELINE_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/ice_servers.h"
#include "engine/media_sender.h"
#include "engine/pipeline_events.h"
#include "engine/pipeline_link.h"
#include "gst/description.h"
#include "gst/reply.h"

namespace zelrtc::hostsdk {

// One m-line of the engine's offer that a transceiver answers.
struct NegotiatedMedia {
    unsigned int mLineIndex = 0;
    RTC_CODEC codec = RTC_CODEC_MULAW;
    int payloadType = 0;
    RTC_RTP_TRANSCEIVER_DIRECTION direction = RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE;
    std::string streamId;
};

// One thread at a time unless noted otherwise; never one of webrtcbin's own.
class WebRtcPipeline {
public:
    // Null if GStreamer lacks an element.
    static std::unique_ptr<WebRtcPipeline> create(bool relayOnly, const std::vector<IceServer>& servers,
                                                  PipelinePosters posters, PipelineEvents events);

    WebRtcPipeline(const WebRtcPipeline&) = delete;
    WebRtcPipeline& operator=(const WebRtcPipeline&) = delete;
    WebRtcPipeline(WebRtcPipeline&&) = delete;
    WebRtcPipeline& operator=(WebRtcPipeline&&) = delete;
    // Leaves the call and releases everything. Posts no event afterwards.
    ~WebRtcPipeline();

    // `transports`: one when everything is bundled, else one for each m-line.
    bool setRemoteDescription(const std::string& sdp, size_t transports);
    // After setRemoteDescription. The sender is null if the direction does not send.
    std::unique_ptr<MediaSender> addMedia(const NegotiatedMedia& media);
    std::optional<std::string> createAnswer();
    bool setLocalDescription(const std::string& sdp);
    void addCandidate(size_t transport, const std::string& candidateLine);
    // webrtcbin's statistics of the connection. Any thread but webrtcbin's own.
    std::unique_ptr<gst::Reply> statistics() const;
    // When the far end was last heard of. Any thread.
    std::optional<Clock::time_point> lastPacket() const;

private:
    WebRtcPipeline(gst::GstPtr<GstElement> pipeline, GstElement* webrtcbin, std::shared_ptr<PipelineLink> link);

    void configure(bool relayOnly, const std::vector<IceServer>& servers);

    gst::GstPtr<GstElement> pipeline_;
    GstElement* webrtcbin_;
    std::shared_ptr<PipelineLink> link_;
    std::shared_ptr<PresentationClock> clock_ = std::make_shared<PresentationClock>();
};

}  // namespace zelrtc::hostsdk

#endif
