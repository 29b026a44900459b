#include "engine/media_receiver.h"

#include <gst/app/gstappsink.h>

#include <atomic>
#include <utility>

#include "text/log.h"

namespace zelrtc::hostsdk {

namespace {

constexpr GstClockTime kNanosecondsPerTick = 100;

// Shared by the sink's callbacks and the executor's tasks.
struct Inbox {
    std::shared_ptr<HandlerExecutor> executor;
    FrameReceiver receiver;
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
    inbox->receiver(&frame);
    gst_buffer_unmap(buffer, &map);
}

void drain(Inbox* inbox, GstAppSink* sink) {
    inbox->draining = false;
    while (GstSample* const sample = gst_app_sink_try_pull_sample(sink, 0)) {
        const GstPtr<GstSample> owner(sample);
        deliver(inbox, sample);
    }
}

// At most one task is queued, so that a slow handler fills the sink, which is bounded, and not the queue.
GstFlowReturn onNewSample(GstAppSink* sink, gpointer data) {
    const auto& inbox = *static_cast<std::shared_ptr<Inbox>*>(data);
    if (!inbox->draining.exchange(true)) {
        const std::shared_ptr<GstElement> kept(GST_ELEMENT(gst_object_ref(sink)), GstDeleter());
        inbox->executor->post([inbox, kept] { drain(inbox.get(), GST_APP_SINK(kept.get())); });
    }
    return GST_FLOW_OK;
}

const char* receiverDescription(RTC_CODEC codec) {
    if (codec == RTC_CODEC_MULAW) {
        return "rtppcmudepay ! appsink name=sink sync=false async=false max-buffers=50 drop=true";
    }
    return "rtph264depay ! video/x-h264,stream-format=byte-stream,alignment=au ! "
           "appsink name=sink sync=false async=false max-buffers=50 drop=true";
}

}  // namespace

bool receiveMedia(GstElement* pipeline, GstPad* webrtcPad, RTC_CODEC codec,
                  const std::shared_ptr<HandlerExecutor>& executor, FrameReceiver receiver) {
    GError* error = nullptr;
    GstElement* const chain = gst_parse_bin_from_description(receiverDescription(codec), TRUE, &error);
    if (chain == nullptr) {
        logError(std::string("no receiver: ") + error->message);
        g_error_free(error);
        return false;
    }
    auto* const inbox = new std::shared_ptr<Inbox>(std::make_shared<Inbox>());
    (*inbox)->executor = executor;
    (*inbox)->receiver = std::move(receiver);

    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = onNewSample;
    const GstPtr<GstElement> sink(gst_bin_get_by_name(GST_BIN(chain), "sink"));
    gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, inbox,
                               [](gpointer data) { delete static_cast<std::shared_ptr<Inbox>*>(data); });

    gst_bin_add(GST_BIN(pipeline), chain);
    gst_element_sync_state_with_parent(chain);
    const GstPtr<GstPad> input(gst_element_get_static_pad(chain, "sink"));
    return gst_pad_link(webrtcPad, input.get()) == GST_PAD_LINK_OK;
}

}  // namespace zelrtc::hostsdk
