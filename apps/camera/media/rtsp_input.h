/** @file rtsp_input.h What of a pipeline belongs to an IP camera: which of its streams are taken, and its sound. */
#ifndef APPS_CAMERA_MEDIA_RTSP_INPUT_H
#define APPS_CAMERA_MEDIA_RTSP_INPUT_H

#include <gst/gst.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

#include "media/audio_source.h"

namespace zelrtc::camera {

/** The start of a pipeline that RtspInput completes; H.264 comes out of its end. */
std::string rtspPipelineText();

/** Never moved: its address is the callbacks' user data. Lives as long as the pipeline, which is not its own. */
class RtspInput {
public:
    /** @param sound receives the camera's sound, if it is mu-law, on a thread of the pipeline */
    RtspInput(GstElement* pipeline, const std::string& url, AudioSource::Sink sound);
    RtspInput(const RtspInput&) = delete;
    RtspInput& operator=(const RtspInput&) = delete;

    /** Why there can be no picture; empty if there can. Any thread. */
    std::string refusal() const;

private:
    static gboolean onSelectStream(GstElement* remote, guint number, GstCaps* caps, gpointer self);
    static GstFlowReturn onSound(GstElement* sink, gpointer self);
    bool isWanted(const GstStructure* stream);

    GstElement* pipeline_;
    AudioSource::Sink sound_;
    mutable std::mutex mutex_;
    bool hasPicture_ = false;
    std::string otherPicture_;
};

}  // namespace zelrtc::camera

#endif
