/** @file tone_sender.h The sound that the viewer sends. */
#ifndef APPS_VIEWER_TONE_SENDER_H
#define APPS_VIEWER_TONE_SENDER_H

#include "call_statistics.h"
#include "gst/elements.h"

namespace zelrtc::viewer {

class ToneSender {
public:
    /** `statistics` outlives this object. @throws std::runtime_error when an element is missing */
    explicit ToneSender(CallStatistics& statistics);

    /** The bin that gives RTP packets at its pad "src"; the pipeline it is put into owns it from then on. */
    GstElement* bin() const {
        return bin_;
    }

    /** Lets the tone through; before the connection nothing would take it. */
    void start();

private:
    static GstPadProbeReturn onPacket(GstPad* pad, GstPadProbeInfo* info, gpointer self);

    CallStatistics& statistics_;
    GstElement* bin_;
};

}  // namespace zelrtc::viewer

#endif
