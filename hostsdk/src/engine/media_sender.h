/** @file media_sender.h One track on its way out: frames into RTP packets. */
#ifndef HOSTSDK_SRC_ENGINE_MEDIA_SENDER_H
#define HOSTSDK_SRC_ENGINE_MEDIA_SENDER_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <memory>
#include <mutex>
#include <optional>

#include "gst/handles.h"

namespace zelrtc::hostsdk {

// Maps frames' presentation times to the pipeline's running time. The tracks of a connection share one clock, so that a
// player keeps picture and sound in sync.
class PresentationClock {
public:
    // Any thread. Keeps the differences between presentation times (100 ns) as long as they stay close to
    // `runningTime`. A track on a different timeline gets its own offset.
    GstClockTime toRunningTime(UINT64 presentationTs, GstClockTime runningTime, std::optional<gint64>* trackOffset);

    // Any thread, with a track's first frame. When presentation times are those of the monotonic clock, the age of that
    // frame is known. Otherwise a track that begins with an old one would put the next track into the future, where
    // frames are held back.
    void noteCapture(UINT64 presentationTs, GstClockTime runningTime, GstClockTime monotonicTime);

private:
    std::mutex mutex_;
    std::optional<gint64> offset_;
};

class MediaSender {
public:
    // `source`: the track's appsrc in the pipeline, which outlives this object.
    MediaSender(GstElement* pipeline, gst::GstPtr<GstElement> source, bool isVideo,
                std::shared_ptr<PresentationClock> clock);

    // Copies the frame, but for a picture's delimiter, and returns at once. One thread at a time.
    STATUS write(const Frame& frame);

private:
    GstElement* pipeline_;
    gst::GstPtr<GstElement> source_;
    const bool isVideo_;
    std::shared_ptr<PresentationClock> clock_;
    std::optional<gint64> offset_;
};

}  // namespace zelrtc::hostsdk

#endif
