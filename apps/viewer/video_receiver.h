/** Counts the camera's video, and decodes it on request. */
#ifndef APPS_VIEWER_VIDEO_RECEIVER_H
#define APPS_VIEWER_VIDEO_RECEIVER_H

#include <gst/app/gstappsink.h>

#include "call_statistics.h"
#include "gst_handles.h"

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
    static GstPadProbeReturn onParsed(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstFlowReturn onPicture(GstAppSink* sink, gpointer self);

    void takeSize(const GstCaps* caps);
    void takePicture(GstSample* sample);

    CallStatistics& statistics_;
    GstElement* bin_;
    PictureSize size_;
};

}  // namespace zelrtc::viewer

#endif
