/** @file http_exchange.h One HTTP request and what became of it. */
#ifndef APPS_VIEWER_HTTP_EXCHANGE_H
#define APPS_VIEWER_HTTP_EXCHANGE_H

#include <httplib.h>

#include <functional>
#include <string>

namespace zelrtc::viewer {

/**
 * The response, when its status is a good one.
 * @throws SignallingError with the reason from the problem details, or with the transport's failure
 */
const httplib::Response& expectSuccess(const httplib::Result& result, const std::string& what);

/**
 * Sends a request that does no harm when it arrives twice. On a network that loses packets, a request can meet a
 * connection that the camera has just closed for being idle: it is sent again then, a few times.
 * @throws SignallingError like expectSuccess
 */
void sendUntilAnswered(const std::function<httplib::Result()>& send, const std::string& what);

/** The response's Location as a path. @throws SignallingError when there is none */
std::string locationPath(const httplib::Response& response);

}  // namespace zelrtc::viewer

#endif
