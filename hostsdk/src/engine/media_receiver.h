/** @file media_receiver.h One track on its way in: RTP packets into frames. */
#ifndef HOSTSDK_SRC_ENGINE_MEDIA_RECEIVER_H
#define HOSTSDK_SRC_ENGINE_MEDIA_RECEIVER_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <functional>

#include "connection/handler_executor.h"
#include "engine/gst_support.h"

namespace zelrtc::hostsdk {

// Runs on the executor's thread; the frame lives for the call.
using FrameReceiver = std::function<void(Frame*)>;

// Takes packets of the codec from the webrtcbin pad and hands the frames on. A receiver that falls behind loses the
// oldest frames. Returns false when an element is missing.
bool receiveMedia(GstElement* pipeline, GstPad* webrtcPad, RTC_CODEC codec,
                  const std::shared_ptr<HandlerExecutor>& executor, FrameReceiver receiver);

}  // namespace zelrtc::hostsdk

#endif
