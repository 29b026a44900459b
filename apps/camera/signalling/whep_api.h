/** @file whep_api.h /whep: signalling as standard players speak it (WebRTC-HTTP egress protocol). */
#ifndef APPS_CAMERA_SIGNALLING_WHEP_API_H
#define APPS_CAMERA_SIGNALLING_WHEP_API_H

#include "call/call_registry.h"
#include "http/http_server.h"

namespace zelrtc::camera {

/** Adds the routes. The arguments must outlive the server. */
void addWhepRoutes(HttpServer& server, CallRegistry& calls);

}  // namespace zelrtc::camera

#endif
