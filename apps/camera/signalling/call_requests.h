/** @file call_requests.h What every request about a call needs, whichever interface it comes through. */
#ifndef APPS_CAMERA_SIGNALLING_CALL_REQUESTS_H
#define APPS_CAMERA_SIGNALLING_CALL_REQUESTS_H

#include <string>
#include <vector>

#include "call/call_registry.h"
#include "http/http_server.h"

namespace zelrtc::camera {

/** Adds a route whose handler may throw CallError, which the client is told as an HTTP error. Before listen. */
void addCallRoute(HttpServer& server, const std::string& method, const Path& path, const Handler& handler,
                  std::vector<Guard> guards = {});

/** The key of the call that the path of a request names. It may be no call's. */
const std::string& callKeyIn(const Request& request);

}  // namespace zelrtc::camera

#endif
