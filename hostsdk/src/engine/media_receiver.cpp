#include "engine/media_receiver.h"

#include <gst/app/gstappsink.h>

#include <atomic>
#include <utility>

#include "text/log.h"

namespace hostsdk {

namespace {

constexpr GstClockTime NANOSECONDS_PER_TICK = 100;

// What the sink's callbacks and the executor's tasks share.
struct Inbox {
    std::shared_ptr<HandlerExecutor> executor;
    FrameReceiver receiver;
    std::atomic<bool> draining{false};
    UINT32 nextIndex = 0;
};

UINT64 toTicks(GstClockTime time) {
    return GST_CLOCK_TIME_IS_VALID(time) ? time / NANOSECONDS_PER_TICK : 0;
}

void deliver(Inbox* pInbox, GstSample* pSample) {
    GstBuffer* const pBuffer = gst_sample_get_buffer(pSample);
    GstMapInfo map;
    if (!gst_buffer_map(pBuffer, &map, GST_MAP_READ)) {
        return;
    }
    Frame frame{};
    frame.index = pInbox->nextIndex++;
    frame.presentationTs = toTicks(GST_BUFFER_PTS(pBuffer));
    frame.decodingTs = frame.presentationTs;
    frame.duration = toTicks(GST_BUFFER_DURATION(pBuffer));
    frame.size = static_cast<UINT32>(map.size);
    frame.frameData = map.data;
    pInbox->receiver(&frame);
    gst_buffer_unmap(pBuffer, &map);
}

void drain(Inbox* pInbox, GstAppSink* pSink) {
    pInbox->draining = false;
    while (GstSample* const pSample = gst_app_sink_try_pull_sample(pSink, 0)) {
        const GstPtr<GstSample> owner(pSample);
        deliver(pInbox, pSample);
    }
}

// One task at a time stands in the executor's queue, so that a slow handler fills the sink, which is bounded.
GstFlowReturn onNewSample(GstAppSink* pSink, gpointer pData) {
    const auto& inbox = *static_cast<std::shared_ptr<Inbox>*>(pData);
    if (!inbox->draining.exchange(true)) {
        const std::shared_ptr<GstElement> sink(GST_ELEMENT(gst_object_ref(pSink)), GstDeleter());
        inbox->executor->post([inbox, sink] { drain(inbox.get(), GST_APP_SINK(sink.get())); });
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

bool receiveMedia(GstElement* pPipeline, GstPad* pWebrtcPad, RTC_CODEC codec,
                  const std::shared_ptr<HandlerExecutor>& executor, FrameReceiver receiver) {
    GError* pError = nullptr;
    GstElement* const pChain = gst_parse_bin_from_description(receiverDescription(codec), TRUE, &pError);
    if (pChain == nullptr) {
        logError(std::string("no receiver: ") + pError->message);
        g_error_free(pError);
        return false;
    }
    auto* const pInbox = new std::shared_ptr<Inbox>(std::make_shared<Inbox>());
    (*pInbox)->executor = executor;
    (*pInbox)->receiver = std::move(receiver);

    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = onNewSample;
    const GstPtr<GstElement> sink(gst_bin_get_by_name(GST_BIN(pChain), "sink"));
    gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, pInbox,
                               [](gpointer pData) { delete static_cast<std::shared_ptr<Inbox>*>(pData); });

    gst_bin_add(GST_BIN(pPipeline), pChain);
    gst_element_sync_state_with_parent(pChain);
    const GstPtr<GstPad> input(gst_element_get_static_pad(pChain, "sink"));
    return gst_pad_link(pWebrtcPad, input.get()) == GST_PAD_LINK_OK;
}

}  // namespace hostsdk
