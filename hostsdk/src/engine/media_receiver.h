// One incoming track: RTP packets to frames.
#ifndef HOSTSDK_SRC_ENGINE_MEDIA_RECEIVER_H
#define HOSTSDK_SRC_ENGINE_MEDIA_RECEIVER_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <functional>

#include "connection/handler_executor.h"
#include "engine/gst_support.h"

namespace zelrtc::hostsdk {

// Runs on the executor's thread; the frame is valid only during the call.
using FrameReceiver = std::function<void(Frame*)>;

// Turns the pad's packets into frames and passes them on. A receiver that falls behind loses the oldest frames.
// False if an element is missing.
bool receiveMedia(GstElement* pipeline, GstPad* webrtcPad, RTC_CODEC codec,
                  const std::shared_ptr<HandlerExecutor>& executor, FrameReceiver receiver);

}  // namespace zelrtc::hostsdk

#endif
