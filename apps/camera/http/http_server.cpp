#include "http/http_server.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <spdlog/spdlog.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <thread>

#include "http/accepted_connections.h"
#include "http/http_error.h"
#include "http/worker_pool.h"

namespace zelrtc::camera {

namespace {

// An offer has at most 25000 characters of SDP, and a little more once escaped as JSON.
constexpr size_t kLongestBody = size_t{64} * 1024;
// Long enough for a bad network to lose a request's packets a few times in a row, the first request's included; short
// enough that idle connections do not use up the threads.
constexpr time_t kKeepAliveSeconds = 4;
constexpr time_t kTransferSeconds = 8;
constexpr size_t kRequestsPerConnection = 1000;
constexpr unsigned kVanishedClientMs = 10000;

template <typename Value>
void setOption(int socket, int level, int option, Value value) {
    setsockopt(socket, level, option, &value, sizeof value);
}

// No SO_REUSEPORT: a second camera on the same port must fail. The timeout drops clients whose host has gone.
void setSocketOptions(int socket) {
    setOption(socket, SOL_SOCKET, SO_REUSEADDR, 1);
    setOption(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, kVanishedClientMs);
}

const char* titleOf(int status) {
    switch (status) {
        case 400:
            return "Bad request";
        case 404:
            return "Not found";
        case 405:
            return "Method not allowed";
        case 412:
            return "Precondition failed";
        case 413:
            return "Too large";
        case 414:
            return "Address too long";
        case 415:
            return "Unsupported media type";
        case 422:
            return "Cannot be answered";
        case 501:
            return "Not supported";
        case 503:
            return "Not available now";
        case 504:
            return "No answer in time";
        default:
            return status < 500 ? "Request refused" : "Failure in the camera";
    }
}

std::string reasonOf(std::exception_ptr failure) {
    try {
        std::rethrow_exception(std::move(failure));
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "unknown";
    }
}

// The route pattern that would match this path.
std::string patternOf(const std::string& path) {
    std::string pattern;
    for (size_t at = 0; at < path.size();) {
        const size_t end = std::min(path.find_first_not_of("0123456789", at), path.size());
        pattern += end > at ? CAMERA_PATH_NUMBER : path.substr(at, 1);
        at = std::max(end, at + 1);
    }
    return pattern;
}

std::string joined(const std::vector<std::string>& words) {
    std::string list;
    for (const std::string& word : words) {
        list += (list.empty() ? "" : ", ") + word;
    }
    return list;
}

// The reason for what the HTTP layer refuses before a handler sees it.
std::string ownReason(int status, const httplib::Request& request) {
    if (status == 413) {
        return "the body is longer than " + std::to_string(kLongestBody) + " bytes";
    }
    if (status == 404) {
        return "there is nothing at " + request.path;
    }
    return "the request could not be read";
}

}  // namespace

void respondWithProblem(httplib::Response& response, int status, const std::string& detail) {
    using nlohmann::json;
    const json document = {{"title", titleOf(status)}, {"status", status}, {"detail", detail}};
    response.status = status;
    response.set_content(document.dump(-1, ' ', false, json::error_handler_t::replace), "application/problem+json");
}

HttpServer::HttpServer(size_t mostThreads) {
    server_.new_task_queue = [mostThreads] { return new WorkerPool(mostThreads); };
    server_.set_socket_options(setSocketOptions);
    server_.set_tcp_nodelay(true);
    server_.set_payload_max_length(kLongestBody);
    server_.set_keep_alive_timeout(kKeepAliveSeconds);
    server_.set_keep_alive_max_count(kRequestsPerConnection);
    server_.set_read_timeout(kTransferSeconds);
    server_.set_write_timeout(kTransferSeconds);
    server_.set_error_handler(httplib::Server::Handler(
        [this](const httplib::Request& request, httplib::Response& response) { completeError(request, response); }));
    server_.set_exception_handler(
        [](const httplib::Request& request, httplib::Response& response, std::exception_ptr failure) {
            spdlog::error("{} {}: {}", request.method, request.path, reasonOf(std::move(failure)));
            respondWithProblem(response, 500, "the camera could not handle the request");
        });
}

void HttpServer::route(const std::string& method, const std::string& pattern, const Handler& handler) {
    const Handler guarded = [handler](const httplib::Request& request, httplib::Response& response) {
        try {
            handler(request, response);
        } catch (const Problem& problem) {
            respondWithProblem(response, problem.httpStatus(), problem.what());
        }
    };
    routes_.push_back({method, pattern});
    if (method == "GET") {
        server_.Get(pattern, guarded);
    } else if (method == "POST") {
        server_.Post(pattern, guarded);
    } else if (method == "PATCH") {
        server_.Patch(pattern, guarded);
    } else if (method == "DELETE") {
        server_.Delete(pattern, guarded);
    } else {
        server_.Options(pattern, guarded);
    }
}

void HttpServer::finishResponsesWith(const Handler& handler) {
    server_.set_post_routing_handler(handler);
}

std::vector<std::string> HttpServer::methodsFor(const std::string& path) const {
    const std::string pattern = patternOf(path);
    std::vector<std::string> methods;
    for (const Route& known : routes_) {
        if (known.pattern == pattern) {
            methods.push_back(known.method);
        }
    }
    return methods;
}

void HttpServer::completeError(const httplib::Request& request, httplib::Response& response) const {
    if (!response.body.empty()) {
        return;
    }
    const std::vector<std::string> methods = methodsFor(request.path);
    if (methods.empty() || std::count(methods.begin(), methods.end(), request.method) > 0) {
        respondWithProblem(response, response.status, ownReason(response.status, request));
        return;
    }
    const std::string allowed = joined(methods);
    response.set_header("Allow", allowed);
    respondWithProblem(response, 405, request.method + " is not possible here, only " + allowed);
}

int HttpServer::bind(const std::string& host, int port) {
    if (port == 0) {
        port = server_.bind_to_any_port(host);
    } else if (!server_.bind_to_port(host, port)) {
        port = -1;
    }
    if (port < 0) {
        throw std::runtime_error("the address " + host + " cannot be listened on: it is in use or not of this machine");
    }
    port_ = port;
    return port;
}

void HttpServer::listen() {
    server_.listen_after_bind();
}

// The library can only be polled for this.
void HttpServer::waitUntilServing() const {
    while (!server_.is_running()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void HttpServer::stop() {
    server_.stop();
    stopReadingOn(port_);
}

}  // namespace zelrtc::camera
