/** @file response.h What a handler answers. */
#ifndef APPS_CAMERA_HTTP_RESPONSE_H
#define APPS_CAMERA_HTTP_RESPONSE_H

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "http/event_source.h"
#include "http/request.h"

namespace zelrtc::camera {

/** A response: a body that is complete, or a stream of events. */
struct Response {
    int status = 200;
    std::string type; /**< media type of the body; empty without a body */
    std::string body;
    std::vector<Field> headers;
    std::shared_ptr<EventSource> events; /**< instead of a body: a stream that ends when this does */
    std::chrono::milliseconds delay{0};  /**< how long the server holds the response back; costs no thread */
};

/** A problem document (application/problem+json). @param detail the reason, as a sentence without a full stop */
Response problemResponse(int status, const std::string& detail);

}  // namespace zelrtc::camera

#endif
