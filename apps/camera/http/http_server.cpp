#include "http/http_server.h"

#include <utility>

#include "http/listening_socket.h"
#include "http/server_loop.h"

namespace zelrtc::camera {

HttpServer::HttpServer(const HttpSettings& settings) : settings_(settings), dispatcher_(settings.limits) {
}

HttpServer::~HttpServer() = default;

void HttpServer::guard(Guard guard) {
    dispatcher_.addGuard(std::move(guard));
}

void HttpServer::route(const std::string& method, const Path& path, Handler handler, std::vector<Guard> guards) {
    dispatcher_.addRoute({method, path, std::move(handler), std::move(guards)});
}

void HttpServer::finishResponsesWith(Finisher finisher) {
    dispatcher_.finishWith(std::move(finisher));
}

int HttpServer::bind(const std::string& host, int port) {
    const int listener = openListeningSocket(host, port);
    const int taken = portOf(listener);
    loop_ = std::make_unique<ServerLoop>(listener, settings_, dispatcher_);
    return taken;
}

void HttpServer::listen() {
    loop_->run();
}

void HttpServer::stop() {
    loop_->stop();
}

}  // namespace zelrtc::camera
