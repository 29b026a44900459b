/** @file whep_api.h /whep: signalling as standard players speak it (WebRTC-HTTP egress protocol). */
#ifndef APPS_CAMERA_SIGNALLING_WHEP_API_H
#define APPS_CAMERA_SIGNALLING_WHEP_API_H

#include <string>
#include <vector>

#include "call/call_registry.h"
#include "http/http_server.h"

namespace zelrtc::camera {

/**
 * Adds the routes. What is given must outlive the server.
 * @param allowedOrigins sites whose pages may read the responses, as in "https://example.com"
 */
void addWhepRoutes(HttpServer& server, CallRegistry& calls, const std::vector<std::string>& allowedOrigins);

}  // namespace zelrtc::camera

#endif
