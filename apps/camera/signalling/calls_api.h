/** @file calls_api.h The page's own signalling, /calls, and the camera's health. */
#ifndef APPS_CAMERA_SIGNALLING_CALLS_API_H
#define APPS_CAMERA_SIGNALLING_CALLS_API_H

#include "call/call_registry.h"
#include "http/http_server.h"
#include "media/media_hub.h"

namespace zelrtc::camera {

/** Adds the routes. The arguments must outlive the server. */
void addCallRoutes(HttpServer& server, CallRegistry& calls, const MediaHub& hub);

/** The number in the path of a request. @throw Problem 404 when it is too large to be a call's */
int callIdIn(const httplib::Request& request);

/** Waits for a call's answer; a call without one is ended. @throw Problem 504 or 503 */
std::string answerOf(Call& call, CallRegistry& calls);

}  // namespace zelrtc::camera

#endif
