/** @file event_stream.h Sends a call's events to an HTTP client as they happen (server-sent events). */
#ifndef APPS_CAMERA_SIGNALLING_EVENT_STREAM_H
#define APPS_CAMERA_SIGNALLING_EVENT_STREAM_H

#include <memory>

#include "events/call_history.h"
#include "http/http_library.h"

namespace zelrtc::camera {

/**
 * Makes the response a stream of all events from the beginning, or of those after the client's Last-Event-ID. It ends
 * with the call, or once the client is gone.
 */
void streamEvents(const std::shared_ptr<EventLog>& events, const httplib::Request& request,
                  httplib::Response& response);

}  // namespace zelrtc::camera

#endif
