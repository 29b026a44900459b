#include "engine/media_receiver.h"

#include <atomic>
#include <stdexcept>
#include <utility>

#include "engine/packet_filter.h"
#include "engine/track_limits.h"
#include "text/log.h"

namespace zelrtc::hostsdk {

namespace {

constexpr GstClockTime kNanosecondsPerTick = 100;

RTC_CODEC toSdk(gst::Codec codec) {
    return codec == gst::Codec::kMulaw ? RTC_CODEC_MULAW
                                       : RTC_CODEC_H264_PROFILE_42E01F_LEVEL_ASYMMETRY_ALLOWED_PACKETIZATION_MODE;
}

// What the sink's handler and the posted tasks share.
struct Inbox {
    TaskPoster post;
    FrameReceiver receiver;
    RTC_CODEC codec = RTC_CODEC_MULAW;
    std::atomic<bool> draining{false};
    UINT32 nextIndex = 0;
};

UINT64 toTicks(GstClockTime time) {
    return GST_CLOCK_TIME_IS_VALID(time) ? time / kNanosecondsPerTick : 0;
}

void deliver(Inbox* inbox, GstSample* sample) {
    GstBuffer* const buffer = gst_sample_get_buffer(sample);
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) {
        return;
    }
    Frame frame{};
    frame.index = inbox->nextIndex++;
    frame.presentationTs = toTicks(GST_BUFFER_PTS(buffer));
    frame.decodingTs = frame.presentationTs;
    frame.duration = toTicks(GST_BUFFER_DURATION(buffer));
    frame.size = static_cast<UINT32>(map.size);
    frame.frameData = map.data;
    inbox->receiver(inbox->codec, &frame);
    gst_buffer_unmap(buffer, &map);
}

void drain(Inbox* inbox, GstAppSink* sink) {
    inbox->draining = false;
    while (GstSample* const sample = gst_app_sink_try_pull_sample(sink, 0)) {
        const gst::GstPtr<GstSample> owner(sample);
        deliver(inbox, sample);
    }
}

void limitTrack(GstPad* webrtcPad, gst::Codec codec) {
    if (codec == gst::Codec::kMulaw) {
        const auto limit = std::make_shared<TalkLimit>();
        dropUnless(webrtcPad, "their sound comes faster than time passes",
                   [limit](const uint8_t* packet, size_t size) { return limit->takes(packet, size); });
    } else {
        const auto limit = std::make_shared<FragmentLimit>();
        dropUnless(webrtcPad, "their picture is too large",
                   [limit](const uint8_t* packet, size_t size) { return limit->takes(packet, size); });
    }
}

// One task at a time stands in the queue, so that a slow handler fills the sink, which is bounded.
void postDrain(const std::shared_ptr<Inbox>& inbox, GstAppSink* sink) {
    if (!inbox->draining.exchange(true)) {
        const std::shared_ptr<GstElement> kept(GST_ELEMENT(gst_object_ref(sink)), gst::GstDeleter());
        inbox->post([inbox, kept] { drain(inbox.get(), GST_APP_SINK(kept.get())); });
    }
}

}  // namespace

void receiveMedia(GstElement* pipeline, GstPad* webrtcPad, gst::Codec codec, const TaskPoster& post,
                  FrameReceiver receiver) {
    const auto inbox = std::make_shared<Inbox>();
    inbox->post = post;
    inbox->receiver = std::move(receiver);
    inbox->codec = toSdk(codec);
    limitTrack(webrtcPad, codec);
    try {
        gst::receiveTrack(pipeline, webrtcPad, codec, [inbox](GstAppSink* sink) { postDrain(inbox, sink); });
    } catch (const std::runtime_error& error) {
        logError(std::string("no receiver: ") + error.what());
    }
}

}  // namespace zelrtc::hostsdk
