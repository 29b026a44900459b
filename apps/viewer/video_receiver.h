/** @file video_receiver.h Counts, and on request decodes, the camera's video. */
#ifndef APPS_VIEWER_VIDEO_RECEIVER_H
#define APPS_VIEWER_VIDEO_RECEIVER_H

#include "call_statistics.h"
#include "gst/elements.h"

namespace zelrtc::viewer {

class VideoReceiver {
public:
    /** `statistics` must outlive this object. @throws std::runtime_error if an element is missing */
    VideoReceiver(CallStatistics& statistics, bool decode);

    /** The bin that takes RTP packets at its pad "sink". The pipeline it is added to owns it. */
    GstElement* bin() const {
        return bin_;
    }

private:
    static GstPadProbeReturn onPacket(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn onParsed(GstPad* pad, GstPadProbeInfo* info, gpointer self);

    void takeSize(const GstCaps* caps);
    void takePicture(GstAppSink* sink);

    CallStatistics& statistics_;
    GstElement* bin_;
    PictureSize size_;
    GstClockTime begunFrame_ = GST_CLOCK_TIME_NONE;
};

}  // namespace zelrtc::viewer

#endif
