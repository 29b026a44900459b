/** @file media_receiver.h One track on its way in: RTP packets into frames. */
#ifndef HOSTSDK_SRC_ENGINE_MEDIA_RECEIVER_H
#define HOSTSDK_SRC_ENGINE_MEDIA_RECEIVER_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <functional>

#include "engine/pipeline_events.h"
#include "gst/camera_end.h"

namespace zelrtc::hostsdk {

// Runs as a posted task; the frame lives for the call.
using FrameReceiver = std::function<void(RTC_CODEC, Frame*)>;

// Takes packets of the codec from the webrtcbin pad and hands the frames on. A receiver that falls behind loses the
// oldest frames. What is missing is logged.
void receiveMedia(GstElement* pipeline, GstPad* webrtcPad, gst::Codec codec, const TaskPoster& post,
                  FrameReceiver receiver);

}  // namespace zelrtc::hostsdk

#endif
