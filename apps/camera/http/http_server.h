/** @file http_server.h The camera's HTTP interface: which request goes where, and how errors look. */
#ifndef APPS_CAMERA_HTTP_HTTP_SERVER_H
#define APPS_CAMERA_HTTP_HTTP_SERVER_H

#include <functional>
#include <string>
#include <vector>

#include "http/http_library.h"

namespace zelrtc::camera {

/** In the pattern of a route: any number. */
#define CAMERA_PATH_NUMBER R"((\d+))"

/**
 * Serves until it is stopped. Handlers throw HttpError; whatever goes wrong is answered with a problem document
 * (application/problem+json).
 */
class HttpServer {
public:
    /** Handles one request; the numbers of the path are in request.matches. */
    using Handler = httplib::Server::Handler;

    /** @param mostThreads how many connections are served at the same time */
    explicit HttpServer(size_t mostThreads);

    /**
     * Adds a route. Before listen.
     * @param method  "GET", "POST", "PATCH", "DELETE" or "OPTIONS"
     * @param pattern a path in which CAMERA_PATH_NUMBER stands for a number
     */
    void route(const std::string& method, const std::string& pattern, const Handler& handler);

    /** Sets what runs on every response before it is sent, also on errors that no handler made. Before listen. */
    void finishResponsesWith(const Handler& handler);

    /**
     * Takes the address.
     * @param port 0 for a free one
     * @return the port
     * @throw std::runtime_error with a sentence for the user when the address cannot be had
     */
    int bind(const std::string& host, int port);

    /** Serves on the calling thread until stop. */
    void listen();

    /** Returns when listen, on another thread, can be stopped. */
    void waitUntilServing() const;

    /** Makes listen return, after the responses to the requests that have been read. Any thread. */
    void stop();

private:
    struct Route {
        std::string method;
        std::string pattern;
    };

    std::vector<std::string> methodsFor(const std::string& path) const;
    void completeError(const httplib::Request& request, httplib::Response& response) const;

    httplib::Server server_;
    std::vector<Route> routes_;
    int port_ = 0;
};

/** Fills a response with a problem document. */
void respondWithProblem(httplib::Response& response, int status, const std::string& detail);

}  // namespace zelrtc::camera

#endif
