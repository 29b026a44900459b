#include "engine/media_sender.h"

#include <gst/app/gstappsrc.h>

#include <cstdlib>
#include <utility>

#include "engine/access_unit.h"

namespace zelrtc::hostsdk {

namespace {

constexpr gint64 kNanosecondsPerTick = 100;
// A camera may begin with pictures that it took seconds ago; the pipeline's time begins early enough for them.
constexpr gint64 kSameTimeline = 6 * static_cast<gint64>(GST_SECOND);
// Several seconds of a high-rate stream: only a stuck transport queues this much.
constexpr guint64 kMaxQueuedBytes = guint64{8} * 1024 * 1024;

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

void PresentationClock::noteCapture(UINT64 presentationTs, GstClockTime runningTime, GstClockTime monotonicTime) {
    const gint64 age = static_cast<gint64>(monotonicTime) - static_cast<gint64>(presentationTs) * kNanosecondsPerTick;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!offset_ && age >= 0 && age < kSameTimeline) {
        offset_ = static_cast<gint64>(runningTime) - static_cast<gint64>(monotonicTime);
    }
}

MediaSender::MediaSender(GstElement* pipeline, gst::GstPtr<GstElement> source, bool isVideo,
                         std::shared_ptr<PresentationClock> clock)
    : pipeline_(pipeline), source_(std::move(source)), isVideo_(isVideo), clock_(std::move(clock)) {
}

STATUS MediaSender::write(const Frame& frame) {
    GstAppSrc* const source = GST_APP_SRC(source_.get());
    if (gst_app_src_get_current_level_bytes(source) > kMaxQueuedBytes) {
        return STATUS_NOT_ENOUGH_MEMORY;
    }
    const size_t left = isVideo_ ? delimiterBytes(frame.frameData, frame.size) : 0;
    GstBuffer* const buffer = gst_buffer_new_memdup(frame.frameData + left, frame.size - left);
    const GstClockTime now = gst_element_get_current_running_time(pipeline_);
    if (!offset_) {
        // The pipeline's clock is the monotonic one, so that a single reading tells both times.
        clock_->noteCapture(frame.presentationTs, now, now + gst_element_get_base_time(pipeline_));
    }
    GST_BUFFER_PTS(buffer) = clock_->toRunningTime(frame.presentationTs, now, &offset_);
    return gst_app_src_push_buffer(source, buffer) == GST_FLOW_OK ? STATUS_SUCCESS : STATUS_INVALID_OPERATION;
}

}  // namespace zelrtc::hostsdk
