/** @file http_exchange.h One HTTP request and what became of it. */
#ifndef APPS_VIEWER_HTTP_EXCHANGE_H
#define APPS_VIEWER_HTTP_EXCHANGE_H

#include <httplib.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace zelrtc::viewer {

/** Where a camera is, and what it takes to be let in. */
struct CameraAddress {
    std::string url;              // as in "https://192.0.2.7:8080"
    std::string token;            // empty for none
    std::string certificateFile;  // PEM; empty to trust whom the system trusts
};

/** Makes a client that shows the token and, over https, talks to nobody but the camera. */
std::unique_ptr<httplib::Client> clientOf(const CameraAddress& camera, std::chrono::seconds responseLimit);

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
