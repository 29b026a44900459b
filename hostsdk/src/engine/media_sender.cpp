#include "engine/media_sender.h"

#include <gst/app/gstappsrc.h>

#include <cstdlib>
#include <utility>

#include "text/log.h"

namespace zelrtc::hostsdk {

namespace {

constexpr gint64 kNanosecondsPerTick = 100;
constexpr gint64 kSameTimeline = 2 * static_cast<gint64>(GST_SECOND);
// Several seconds of a high-rate stream: only a stuck transport queues this much.
constexpr guint64 kMaxQueuedBytes = guint64{8} * 1024 * 1024;

// h264parse repeats the parameter sets with each key frame, so that late joiners see a picture. The audio packetiser
// must not derive timestamps from a sample count: a pause in the frames is a pause in the call.
std::string senderDescription(RTC_CODEC codec, int payloadType, guint ssrc) {
    const std::string numbers = " pt=" + std::to_string(payloadType) + " ssrc=" + std::to_string(ssrc);
    if (codec == RTC_CODEC_MULAW) {
        return "appsrc name=source is-live=true format=time caps=audio/x-mulaw,rate=8000,channels=1 ! "
               "rtppcmupay min-ptime=20000000 max-ptime=20000000 perfect-rtptime=false" +
               numbers;
    }
    return "appsrc name=source is-live=true format=time caps=video/x-h264,stream-format=byte-stream,alignment=au ! "
           "h264parse config-interval=-1 ! "
           "rtph264pay aggregate-mode=zero-latency config-interval=-1 mtu=1200" +
           numbers;
}

}  // namespace

GstClockTime PresentationClock::toRunningTime(UINT64 presentationTs, GstClockTime runningTime,
                                              std::optional<gint64>* trackOffset) {
    const auto presentation = static_cast<gint64>(presentationTs) * kNanosecondsPerTick;
    const gint64 offset = static_cast<gint64>(runningTime) - presentation;
    if (!*trackOffset) {
        const std::lock_guard<std::mutex> lock(mutex_);
        offset_ = offset_.value_or(offset);
        *trackOffset = std::llabs(*offset_ - offset) < kSameTimeline ? *offset_ : offset;
    }
    if (presentation + **trackOffset < 0) {
        *trackOffset = offset;
    }
    return static_cast<GstClockTime>(presentation + **trackOffset);
}

std::unique_ptr<MediaSender> MediaSender::create(GstElement* pipeline, GstPad* webrtcPad, RTC_CODEC codec,
                                                 int payloadType, guint ssrc,
                                                 const std::shared_ptr<PresentationClock>& clock) {
    GError* error = nullptr;
    GstElement* const chain =
        gst_parse_bin_from_description(senderDescription(codec, payloadType, ssrc).c_str(), TRUE, &error);
    if (chain == nullptr) {
        logError(std::string("no sender: ") + error->message);
        g_error_free(error);
        return nullptr;
    }
    gst_bin_add(GST_BIN(pipeline), chain);
    const GstPtr<GstPad> output(gst_element_get_static_pad(chain, "src"));
    gst_pad_link(output.get(), webrtcPad);
    GstPtr<GstElement> source(gst_bin_get_by_name(GST_BIN(chain), "source"));
    gst_element_sync_state_with_parent(chain);
    return std::unique_ptr<MediaSender>(new MediaSender(pipeline, std::move(source), clock));
}

MediaSender::MediaSender(GstElement* pipeline, GstPtr<GstElement> source, std::shared_ptr<PresentationClock> clock)
    : pipeline_(pipeline), source_(std::move(source)), clock_(std::move(clock)) {
}

STATUS MediaSender::write(const Frame& frame) {
    GstAppSrc* const source = GST_APP_SRC(source_.get());
    if (gst_app_src_get_current_level_bytes(source) > kMaxQueuedBytes) {
        return STATUS_NOT_ENOUGH_MEMORY;
    }
    GstBuffer* const buffer = gst_buffer_new_memdup(frame.frameData, frame.size);
    const GstClockTime now = gst_element_get_current_running_time(pipeline_);
    GST_BUFFER_PTS(buffer) = clock_->toRunningTime(frame.presentationTs, now, &offset_);
    return gst_app_src_push_buffer(source, buffer) == GST_FLOW_OK ? STATUS_SUCCESS : STATUS_INVALID_OPERATION;
}

}  // namespace zelrtc::hostsdk
