// webrtcbin and what surrounds it: one call's transport and negotiation.
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

// What the pipeline tells; each runs on the executor's thread.
struct PipelineEvents {
    std::function<void(unsigned int mLineIndex, const std::string& candidate)> onCandidate;
    // With the number of candidates found, of which the last may still be on their way to onCandidate.
    std::function<void(std::size_t found)> onGatheringDone;
    std::function<void(TransportEvent)> onTransport;
    // The far end's limit in bits per second.
    std::function<void(double)> onBandwidth;
    std::function<void(RTC_CODEC, Frame*)> onFrame;
};

// An ICE server as configured; without a URL when the configured text is no address.
struct IceServer {
    std::string text;
    std::optional<IceServerUrl> url;
    std::string username;
    std::string credential;
    bool inUse = false;
};

// One m-line that a transceiver answers.
struct NegotiatedMedia {
    unsigned int mLineIndex = 0;
    RTC_CODEC codec = RTC_CODEC_MULAW;
    PayloadFormat format;
    RTC_RTP_TRANSCEIVER_DIRECTION direction = RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE;
    std::string streamId;
};

// Calls from one thread at a time, except where noted; none from webrtcbin's own threads.
class WebRtcPipeline {
public:
    // Null when GStreamer lacks an element.
    static std::unique_ptr<WebRtcPipeline> create(bool relayOnly, const std::vector<IceServer>& servers,
                                                  std::shared_ptr<HandlerExecutor> executor, PipelineEvents events);

    WebRtcPipeline(const WebRtcPipeline&) = delete;
    WebRtcPipeline& operator=(const WebRtcPipeline&) = delete;
    WebRtcPipeline(WebRtcPipeline&&) = delete;
    WebRtcPipeline& operator=(WebRtcPipeline&&) = delete;
    // Leaves the call and releases everything; afterwards none of the events is posted.
    ~WebRtcPipeline();

    bool setRemoteDescription(const std::string& sdp);
    // After the remote description. The sender is null when the direction does not send.
    std::unique_ptr<MediaSender> addMedia(const NegotiatedMedia& media);
    std::optional<std::string> createAnswer();
    bool setLocalDescription(const std::string& sdp);
    // With the candidates gathered so far; empty before there is a local description.
    std::string localDescription() const;
    void addCandidate(const std::string& candidateLine);
    // webrtcbin's statistics of the connection; nothing before there are any. Any thread but webrtcbin's.
    std::unique_ptr<Reply> statistics() const;
    // When the far end was last heard of. Any thread.
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
    GstPtr<GObject> agent_;
    std::shared_ptr<Link> link_;
    std::shared_ptr<PresentationClock> clock_ = std::make_shared<PresentationClock>();
};

}  // namespace zelrtc::hostsdk

#endif
