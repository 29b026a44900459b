/** @file http_exchange.h One HTTP request and what became of it. */
#ifndef APPS_VIEWER_HTTP_EXCHANGE_H
#define APPS_VIEWER_HTTP_EXCHANGE_H

#include <httplib.h>

#include <functional>
#include <string>

namespace zelrtc::viewer {

/**
 * The response, if it reports success.
 * @throws SignallingError with the reason from the problem details, or with the transport's error
 */
const httplib::Response& expectSuccess(const httplib::Result& result, const std::string& what);

/**
 * Sends a request that is harmless if it arrives twice. On a lossy network a request may hit a connection that the
 * camera has just closed as idle; it is then sent again, a few times.
 * @throws SignallingError as expectSuccess does
 */
void sendUntilAnswered(const std::function<httplib::Result()>& send, const std::string& what);

/** The path in the response's Location. @throws SignallingError if there is none */
std::string locationPath(const httplib::Response& response);

}  // namespace zelrtc::viewer

#endif
