/** @file calls_api.h The page's own signalling, /calls, and the camera's health. */
#ifndef APPS_CAMERA_SIGNALLING_CALLS_API_H
#define APPS_CAMERA_SIGNALLING_CALLS_API_H

#include "call/call_registry.h"
#include "http/http_server.h"
#include "media/media_hub.h"

namespace zelrtc::camera {

/** Adds the routes. The arguments must outlive the server. */
void addCallRoutes(HttpServer& server, CallRegistry& calls, const MediaHub& hub);

}  // namespace zelrtc::camera

#endif
