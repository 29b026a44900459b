/** @file event_stream.h Sends a call's events to an HTTP client as they happen (server-sent events). */
#ifndef APPS_CAMERA_SIGNALLING_EVENT_STREAM_H
#define APPS_CAMERA_SIGNALLING_EVENT_STREAM_H

#include <memory>

#include "events/call_history.h"
#include "http/request.h"
#include "http/response.h"

namespace zelrtc::camera {

/**
 * A stream of all events from the beginning, or of those after the client's Last-Event-ID. It ends with the call, or as
 * soon as the client is gone.
 */
Response streamEvents(const std::shared_ptr<CallHistory>& events, const Request& request);

}  // namespace zelrtc::camera

#endif
