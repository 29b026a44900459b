/** @file http_server.h An HTTP server that can be left running on a network one does not own. */
#ifndef APPS_CAMERA_HTTP_HTTP_SERVER_H
#define APPS_CAMERA_HTTP_HTTP_SERVER_H

#include <memory>
#include <string>
#include <vector>

#include "http/dispatcher.h"
#include "http/http_settings.h"
#include "http/router.h"

namespace zelrtc::camera {

class ServerLoop;

/**
 * Serves until it is stopped. Whatever a handler or a guard refuses is answered with a problem document
 * (application/problem+json). What is no HTTP, or too much of it to be taken apart, gets a bare 400, 414 or 431. Bodies
 * come complete, in plain; ranges are ignored.
 */
class HttpServer {
public:
    explicit HttpServer(const HttpSettings& settings = {});
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /** Adds a check that every request has to pass, in the order of adding. Before listen. */
    void guard(Guard guard);

    /** Adds a route. @param guards further checks that its requests have to pass. Before listen. */
    void route(const std::string& method, const Path& path, Handler handler, std::vector<Guard> guards = {});

    /** Sets what runs on every response before it is sent, also on refusals that no handler made. Before listen. */
    void finishResponsesWith(Finisher finisher);

    /**
     * Takes the address. Clients may connect from now on.
     * @param port 0 for a free one
     * @return the port
     * @throw std::runtime_error with a message for the user if the address is not available or the certificate is none
     */
    int bind(const std::string& host, int port);

    /** Serves on the calling thread until stop. After bind. */
    void listen();

    /**
     * Makes listen return: requests that are complete get their responses, event streams end, all other connections are
     * closed at once. Any thread, also before listen; after bind.
     */
    void stop();

private:
    const HttpSettings settings_;
    Dispatcher dispatcher_;
    std::unique_ptr<ServerLoop> loop_;
};

}  // namespace zelrtc::camera

#endif
