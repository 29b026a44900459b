/** @file http_server.h The camera's HTTP interface: which request goes where, and how errors look. */
#ifndef APPS_CAMERA_HTTP_HTTP_SERVER_H
#define APPS_CAMERA_HTTP_HTTP_SERVER_H

#include <functional>
#include <string>
#include <vector>

#include "http/http_library.h"

namespace zelrtc::camera {

/** Matches any number in a route's pattern. */
#define CAMERA_PATH_NUMBER R"((\d+))"

/**
 * Serves until it is stopped. Handlers throw Problem; every error is answered with a problem document
 * (application/problem+json).
 */
class HttpServer {
public:
    /** Handles one request; request.matches holds the numbers in its path. */
    using Handler = httplib::Server::Handler;

    /** @param mostThreads how many connections are served at once */
    explicit HttpServer(size_t mostThreads);

    /**
     * Adds a route. Before listen.
     * @param method  "GET", "POST", "PATCH", "DELETE" or "OPTIONS"
     * @param pattern a path; CAMERA_PATH_NUMBER stands for a number
     */
    void route(const std::string& method, const std::string& pattern, const Handler& handler);

    /** Sets what runs on every response before it is sent, including the server's own errors. Before listen. */
    void finishResponsesWith(const Handler& handler);

    /**
     * Binds to the address.
     * @param port 0: any free one
     * @return the port in use
     * @throw std::runtime_error with a message for the user if the address is not available
     */
    int bind(const std::string& host, int port);

    /** Serves on the calling thread until stop. */
    void listen();

    /** Returns once listen, running on another thread, can be stopped. */
    void waitUntilServing() const;

    /** Makes listen return once the requests already read have been answered. Any thread. */
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
