// webrtcbin and the elements around it: one call's transport and negotiation.
#ifndef HOSTSDK_SRC_ENGINE_WEBRTC_PIPELINE_H
#define HOSTSDK_SRC_ENGINE_WEBRTC_PIPELINE_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "connection/connection_monitor.h"
#include "connection/handler_executor.h"
#include "engine/gst_support.h"
#include "engine/media_receiver.h"
#include "engine/media_sender.h"
#include "text/ice_server_url.h"
#include "text/offer.h"

namespace zelrtc::hostsdk {

// What the pipeline reports, always on the executor's thread.
struct PipelineEvents {
    std::function<void(unsigned int mLineIndex, const std::string& candidate)> onCandidate;
    // `found` counts all candidates; the last of them may still be on their way to onCandidate.
    std::function<void(std::size_t found)> onGatheringDone;
    std::function<void(TransportEvent)> onTransport;
    // The far end's bitrate limit, in bits per second.
    std::function<void(double)> onBandwidth;
    std::function<void(RTC_CODEC, Frame*)> onFrame;
};

// An ICE server as configured; `url` is empty if the text is not a valid address.
struct IceServer {
    std::string text;
    std::optional<IceServerUrl> url;
    std::string username;
    std::string credential;
    bool inUse = false;
};

// An m-line answered by a transceiver.
struct NegotiatedMedia {
    unsigned int mLineIndex = 0;
    RTC_CODEC codec = RTC_CODEC_MULAW;
    PayloadFormat format;
    RTC_RTP_TRANSCEIVER_DIRECTION direction = RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE;
    std::string streamId;
};

// One thread at a time unless noted otherwise; never one of webrtcbin's own.
class WebRtcPipeline {
public:
    // Null if GStreamer lacks an element.
    static std::unique_ptr<WebRtcPipeline> create(bool relayOnly, const std::vector<IceServer>& servers,
                                                  std::shared_ptr<HandlerExecutor> executor, PipelineEvents events);

    WebRtcPipeline(const WebRtcPipeline&) = delete;
    WebRtcPipeline& operator=(const WebRtcPipeline&) = delete;
    WebRtcPipeline(WebRtcPipeline&&) = delete;
    WebRtcPipeline& operator=(WebRtcPipeline&&) = delete;
    // Leaves the call and releases everything. Posts no event afterwards.
    ~WebRtcPipeline();

    bool setRemoteDescription(const std::string& sdp);
    // After setRemoteDescription. The sender is null if the direction does not send.
    std::unique_ptr<MediaSender> addMedia(const NegotiatedMedia& media);
    std::optional<std::string> createAnswer();
    bool setLocalDescription(const std::string& sdp);
    // Includes the candidates gathered so far; empty before setLocalDescription.
    std::string localDescription() const;
    void addCandidate(const std::string& candidateLine);
    // webrtcbin's statistics of the connection. Any thread but webrtcbin's own.
    std::unique_ptr<Reply> statistics() const;
    // When an RTP or RTCP packet last arrived. Any thread.
    std::optional<ConnectionMonitor::Clock::time_point> lastPacket() const;

private:
    struct Link;

    WebRtcPipeline(GstPtr<GstElement> pipeline, GstElement* webrtcbin, std::shared_ptr<Link> link);

    void configure(bool relayOnly, const std::vector<IceServer>& servers);
    void configureAgent();
    void addServers(const std::vector<IceServer>& servers);
    void connectSignals();
    void watchFeedback();
    bool applyDescription(const char* action, GstWebRTCSDPType type, const std::string& sdp);

    GstPtr<GstElement> pipeline_;
    GstElement* webrtcbin_;
    std::shared_ptr<Link> link_;
    std::shared_ptr<PresentationClock> clock_ = std::make_shared<PresentationClock>();
};

}  // namespace zelrtc::hostsdk

#endif
