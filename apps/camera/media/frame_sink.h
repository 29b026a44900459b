/** @file frame_sink.h Who takes the camera's frames. */
#ifndef APPS_CAMERA_MEDIA_FRAME_SINK_H
#define APPS_CAMERA_MEDIA_FRAME_SINK_H

#include "media/audio_source.h"
#include "media/restart_plan.h"
#include "media/video_source.h"

namespace zelrtc::camera {

/** Receives frames, on the sources' threads; video and audio may arrive at the same time. */
class FrameSink {
public:
    virtual ~FrameSink() = default;

    /**
     * @return false if the viewer can do nothing with frames that build on this one: it is not connected, or has not
     *         been sent the key frame to begin with
     */
    virtual bool onVideo(const AccessUnit& unit) = 0;
    virtual void onAudio(const AudioFrame& frame) = 0;

    /** The source of the viewer's stream has failed, or is back. */
    virtual void onSource(int /*stream*/, const SourceState& /*state*/) {
    }
};

}  // namespace zelrtc::camera

#endif
