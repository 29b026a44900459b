/** @file call_requests.h What every request about a call needs, whichever interface it comes through. */
#ifndef APPS_CAMERA_SIGNALLING_CALL_REQUESTS_H
#define APPS_CAMERA_SIGNALLING_CALL_REQUESTS_H

#include <string>

#include "call/call_registry.h"
#include "http/http_server.h"

namespace zelrtc::camera {

/** Adds a route whose handler may throw CallError, which the client is told as an HTTP error. Before listen. */
void addCallRoute(HttpServer& server, const std::string& method, const std::string& pattern,
                  const HttpServer::Handler& handler);

/** The number in the path of a request. @throw HttpError 404 when it is too large to be a call's */
int callIdIn(const httplib::Request& request);

}  // namespace zelrtc::camera

#endif
