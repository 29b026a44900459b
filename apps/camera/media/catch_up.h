/** @file catch_up.h How a viewer that comes in the middle of a stream gets from its newest group to what is live. */
#ifndef APPS_CAMERA_MEDIA_CATCH_UP_H
#define APPS_CAMERA_MEDIA_CATCH_UP_H

#include <deque>
#include <memory>

#include "media/frame_sink.h"
#include "media/picture_group.h"

namespace zelrtc::camera {

/**
 * One viewer's way through one stream. Until the viewer takes it, the group's key frame is offered with every picture
 * that comes; then the rest of the group follows, and what has come meanwhile, somewhat faster than it comes, until
 * nothing waits. Every unit goes out once, in the order of decoding, with its own time. The source's thread.
 */
class CatchUp {
public:
    /** @param unit what has just come, already in the group if it belongs there */
    void onUnit(const std::shared_ptr<KeptUnit>& unit, const PictureGroup& group, FrameSink& sink);

private:
    void start(const PictureGroup& group, FrameSink& sink);
    void sendSome(FrameSink& sink);
    void startOver();

    bool hasStarted_ = false;
    bool isSecondOfPair_ = false;
    unsigned source_ = 0;
    std::deque<std::shared_ptr<KeptUnit>> waiting_;
};

}  // namespace zelrtc::camera

#endif
