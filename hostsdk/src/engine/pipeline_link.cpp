#include "engine/pipeline_link.h"

#include <gst/rtp/gstrtcpbuffer.h>

#include <algorithm>

#include "engine/last_datagram.h"
#include "engine/media_receiver.h"
#include "engine/packet_filter.h"
#include "gst/camera_end.h"
#include "gst/dtls.h"
#include "gst/ice_agent.h"
#include "gst/packet_lists.h"
#include "text/remb.h"

namespace zelrtc::hostsdk {

void PipelineLink::connect(const Shared& link, GstElement* webrtcbin) {
    gst::connectSignal(gst::niceAgent(webrtcbin).get(), "candidate-gathering-done", G_CALLBACK(onGatheringDone), link);
    gst::connectSignal(webrtcbin, "on-ice-candidate", G_CALLBACK(onCandidate), link);
    gst::connectSignal(webrtcbin, "notify::connection-state", G_CALLBACK(onConnectionState), link);
    gst::connectSignal(webrtcbin, "deep-element-added", G_CALLBACK(onElementAdded), link);
    gst::connectSignal(webrtcbin, "pad-added", G_CALLBACK(onPadAdded), link);
}

void PipelineLink::watchFeedback(const Shared& link, GstElement* webrtcbin) {
    const gst::GstPtr<GstElement> rtpbin = gst::elementOf(webrtcbin, "rtpbin");
    for (size_t i = 0; i < link->transports_; i++) {
        GObject* found = nullptr;
        g_signal_emit_by_name(rtpbin.get(), "get-internal-session", static_cast<guint>(i), &found);
        const gst::GstPtr<GObject> session(found);
        if (session != nullptr) {
            gst::connectSignal(session.get(), "on-feedback-rtcp", G_CALLBACK(onFeedback), link);
        }
    }
}

std::optional<Clock::time_point> PipelineLink::lastPacket(GObject* agent) const {
    std::optional<Clock::time_point> last;
    const Clock::rep count = lastPacket_;
    if (count != 0) {
        last = Clock::time_point(Clock::duration(count));
    }
    for (const guint stream : gathered()) {
        // An empty optional is before every other.
        last = std::max(last, lastDatagram(agent, stream));
    }
    return last;
}

// How many are done with it.
size_t PipelineLink::addGathered(guint stream) {
    const std::lock_guard<std::mutex> lock(mutex_);
    gathered_.push_back(stream);
    return gathered_.size();
}

std::vector<guint> PipelineLink::gathered() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return gathered_;
}

void PipelineLink::postTransport(const Shared& link, TransportEvent event) {
    link->posters_.timer([link, event] { link->events_.onTransport(event); });
}

void PipelineLink::onCandidate(GstElement*, guint mLineIndex, gchar* text, Shared* link) {
    (*link)->posters_.timer(
        [link = *link, mLineIndex, text = std::string(text)] { link->events_.onCandidate(mLineIndex, text); });
}

// Asked of the agent: webrtcbin (1.22) never calls gathering complete when a candidate arrives while it decides.
void PipelineLink::onGatheringDone(GObject* agent, guint stream, Shared* link) {
    const size_t transports = (*link)->addGathered(stream);
    (*link)->foundCandidates_ += gst::countCandidates(agent, stream);
    if (transports < (*link)->transports_) {
        return;
    }
    const size_t found = (*link)->foundCandidates_;
    (*link)->posters_.timer([link = *link, found] { link->events_.onGatheringDone(found); });
}

void PipelineLink::onConnectionState(GstElement* webrtcbin, GParamSpec*, Shared* link) {
    const auto state = gst::plainProperty<GstWebRTCPeerConnectionState>(webrtcbin, "connection-state");
    if (state == GST_WEBRTC_PEER_CONNECTION_STATE_CONNECTED) {
        postTransport(*link, TransportEvent::kConnected);
    }
}

void PipelineLink::onElementAdded(GstBin*, GstBin*, GstElement* element, Shared* link) {
    if (gst::isMadeBy(element, "dtlsdec")) {
        gst::connectSignal(element, "notify::connection-state", G_CALLBACK(onDtlsState), *link);
    } else if (gst::isMadeBy(element, "nicesrc")) {
        const gst::GstPtr<GstPad> output(gst_element_get_static_pad(element, "src"));
        gst::addProbe(output.get(), GST_PAD_PROBE_TYPE_BUFFER, onPacket, *link);
    } else if (gst::isMadeBy(element, "srtpdec")) {
        limitSources(*link, element);
    } else if (gst::isMadeBy(element, "srtpenc")) {
        (*link)->addSender(SentPackets::watch(element));
    } else {
        gst::letListsPass(element);
    }
}

void PipelineLink::addSender(const std::shared_ptr<SentPackets>& packets) {
    const std::lock_guard<std::mutex> lock(mutex_);
    sent_.push_back(packets);
}

// Packets of both kinds come in through one pad, and leave by kind.
void PipelineLink::limitSources(const Shared& link, GstElement* srtpdec) {
    const auto limit = [&](const char* name, const char* reason, const PacketTest& test) {
        const gst::GstPtr<GstPad> pad(gst_element_get_static_pad(srtpdec, name));
        if (pad != nullptr) {
            dropUnless(pad.get(), reason, test);
        }
    };
    constexpr const char* kTooMany = "they are of too many sources";
    const auto encrypted = [link](const uint8_t* packet, size_t size) {
        return link->sources_.takesEncrypted(packet, size);
    };
    limit("rtp_sink", kTooMany, encrypted);
    limit("rtcp_sink", kTooMany, encrypted);
    limit("rtp_src", "they name too many contributing sources",
          [link](const uint8_t* packet, size_t size) { return link->sources_.takesMedia(packet, size); });
    limit("rtcp_src", "they report on too many sources",
          [link](const uint8_t* packet, size_t size) { return link->sources_.takesControl(packet, size); });
}

// A far end that closes its connection says so through DTLS; webrtcbin's own states do not show it.
void PipelineLink::onDtlsState(GstElement* dtlsdec, GParamSpec*, Shared* link) {
    const gst::DtlsState state = gst::dtlsState(dtlsdec);
    if (state == gst::DtlsState::kConnected) {
        (*link)->dtlsConnected_ = true;
    } else if (state == gst::DtlsState::kClosed && (*link)->dtlsConnected_.exchange(false)) {
        postTransport(*link, TransportEvent::kClosedByFarEnd);
    }
}

void PipelineLink::onPadAdded(GstElement* webrtcbin, GstPad* pad, Shared* shared) {
    const std::optional<gst::Codec> codec = gst::codecOf(pad);
    const gst::GstPtr<GstElement> pipeline(GST_ELEMENT(gst_element_get_parent(webrtcbin)));
    if (GST_PAD_DIRECTION(pad) == GST_PAD_SRC && codec && pipeline != nullptr) {
        const Shared link = *shared;
        receiveMedia(pipeline.get(), pad, *codec, link->posters_.incoming,
                     [link](RTC_CODEC received, Frame* frame) { link->events_.onFrame(received, frame); });
    }
}

void PipelineLink::onFeedback(GObject*, guint type, guint format, guint, guint source, GstBuffer* control,
                              Shared* link) {
    const bool isReport = type == GST_RTCP_TYPE_PSFB && format == GST_RTCP_PSFB_TYPE_AFB;
    const bool isNack = type == GST_RTCP_TYPE_RTPFB && format == GST_RTCP_RTPFB_TYPE_NACK;
    GstMapInfo map;
    if (!(isReport || isNack) || control == nullptr || !gst_buffer_map(control, &map, GST_MAP_READ)) {
        return;
    }
    if (isReport) {
        (*link)->onBandwidthReport(*link, map.data, map.size);
    } else {
        (*link)->onNack(source, map.data, map.size);
    }
    gst_buffer_unmap(control, &map);
}

void PipelineLink::onBandwidthReport(const Shared& self, const uint8_t* report, size_t size) {
    if (const std::optional<double> limit = readRemb(report, size)) {
        posters_.incoming([self, limit = *limit] { self->events_.onBandwidth(limit); });
    }
}

void PipelineLink::onNack(uint32_t source, const uint8_t* list, size_t size) {
    std::vector<std::shared_ptr<SentPackets>> transports;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        transports = sent_;
    }
    const std::vector<uint16_t> numbers = requestedNumbers(list, size);
    for (const auto& packets : transports) {
        packets->resend(source, numbers);
    }
}

// Media, its control packets and DTLS.
GstPadProbeReturn PipelineLink::onPacket(GstPad*, GstPadProbeInfo*, gpointer link) {
    (*static_cast<Shared*>(link))->lastPacket_ = Clock::now().time_since_epoch().count();
    return GST_PAD_PROBE_OK;
}

}  // namespace zelrtc::hostsdk
