/** @file media_sender.h One track on its way out: frames into RTP packets. */
#ifndef HOSTSDK_SRC_ENGINE_MEDIA_SENDER_H
#define HOSTSDK_SRC_ENGINE_MEDIA_SENDER_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <memory>
#include <mutex>
#include <optional>

#include "gst/handles.h"

namespace zelrtc::hostsdk {

// Maps the presentation times of frames to the running time of the pipeline. The tracks of a connection share one, so
// that a player keeps picture and sound together.
class PresentationClock {
public:
    // Any thread. The difference of two results is that of the two presentation times (100 ns), as long as these
    // stay near the pace of `runningTime`; a track with a timeline of its own gets one of its own.
    GstClockTime toRunningTime(UINT64 presentationTs, GstClockTime runningTime, std::optional<gint64>* trackOffset);

private:
    std::mutex mutex_;
    std::optional<gint64> offset_;
};

class MediaSender {
public:
    // `source`: the track's appsrc in the pipeline, which outlives this object.
    MediaSender(GstElement* pipeline, gst::GstPtr<GstElement> source, std::shared_ptr<PresentationClock> clock);

    // Copies the frame and returns at once. One thread at a time.
    STATUS write(const Frame& frame);

private:
    GstElement* pipeline_;
    gst::GstPtr<GstElement> source_;
    std::shared_ptr<PresentationClock> clock_;
    std::optional<gint64> offset_;
};

}  // namespace zelrtc::hostsdk

#endif
