/** @file pipeline_link.h From webrtcbin's signals to the engine's events. */
#ifndef HOSTSDK_SRC_ENGINE_PIPELINE_LINK_H
#define HOSTSDK_SRC_ENGINE_PIPELINE_LINK_H

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "engine/pipeline_events.h"
#include "engine/sent_packets.h"
#include "engine/viewer_sources.h"
#include "gst/handles.h"

namespace zelrtc::hostsdk {

// What webrtcbin's callbacks need; it outlives each of them, because they share it.
class PipelineLink {
public:
    PipelineLink(PipelinePosters posters, PipelineEvents events)
        : posters_(std::move(posters)), events_(std::move(events)) {
    }

    // Before webrtcbin starts.
    static void connect(const std::shared_ptr<PipelineLink>& link, GstElement* webrtcbin);
    // Before the remote description is set: how many transports gather candidates.
    void expectTransports(size_t count) {
        transports_ = count;
    }

    // After the local description is set: each transport has an RTP session, which exists then.
    static void watchFeedback(const std::shared_ptr<PipelineLink>& link, GstElement* webrtcbin);

    // When the far end was last heard of. The agent is the caller's: its signals hold the link, so that a link which
    // held the agent would keep both, and the agent's sockets, for good. Any thread.
    std::optional<Clock::time_point> lastPacket(GObject* agent) const;

private:
    using Shared = std::shared_ptr<PipelineLink>;

    size_t addGathered(guint stream);
    std::vector<guint> gathered() const;
    static void limitSources(const Shared& link, GstElement* srtpdec);
    static void postTransport(const Shared& link, TransportEvent event);
    static void onCandidate(GstElement*, guint mLineIndex, gchar* text, Shared* link);
    static void onGatheringDone(GObject* agent, guint stream, Shared* link);
    static void onConnectionState(GstElement* webrtcbin, GParamSpec*, Shared* link);
    static void onElementAdded(GstBin*, GstBin*, GstElement* element, Shared* link);
    static void onDtlsState(GstElement* dtlsdec, GParamSpec*, Shared* link);
    static void onPadAdded(GstElement* webrtcbin, GstPad* pad, Shared* shared);
    static void onFeedback(GObject*, guint type, guint format, guint sender, guint source, GstBuffer* control,
                           Shared* link);
    void onBandwidthReport(const Shared& self, const uint8_t* report, size_t size);
    void onNack(uint32_t source, const uint8_t* list, size_t size);
    void addSender(const std::shared_ptr<SentPackets>& packets);
    static GstPadProbeReturn onPacket(GstPad*, GstPadProbeInfo*, gpointer link);

    const PipelinePosters posters_;
    const PipelineEvents events_;
    std::atomic<Clock::rep> lastPacket_{0};
    std::atomic<bool> dtlsConnected_{false};
    std::atomic<size_t> transports_{1};
    ViewerSources sources_;
    size_t foundCandidates_ = 0;  // of the agent's thread alone
    mutable std::mutex mutex_;
    std::vector<guint> gathered_;                     // the agent's streams that are done; guarded by the mutex
    std::vector<std::shared_ptr<SentPackets>> sent_;  // of each transport; guarded by the mutex
};

}  // namespace zelrtc::hostsdk

#endif
