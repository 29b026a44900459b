/** @file dispatcher.h From a request to its response, without the network. */
#ifndef APPS_CAMERA_HTTP_DISPATCHER_H
#define APPS_CAMERA_HTTP_DISPATCHER_H

#include <functional>
#include <string>
#include <vector>

#include "http/guards.h"
#include "http/http_settings.h"
#include "http/request.h"
#include "http/response.h"
#include "http/router.h"

namespace zelrtc::camera {

/** Changes every response before it is sent, also refusals that no handler made. */
using Finisher = std::function<void(const Request& request, Response& response)>;

/** The routes and guards of a server. Filled before the server runs; then any thread. */
class Dispatcher {
public:
    explicit Dispatcher(const HttpLimits& limits);

    void addGuard(Guard guard);
    void addRoute(Route route);
    void finishWith(Finisher finisher);

    /**
     * Decides on a request whose header is there.
     * @param request     its variables are filled in
     * @param headerBytes size of the header
     * @param refusal     what to answer when it is refused, finished
     * @return the route, or null when the request is refused
     */
    const Route* admit(Request& request, size_t headerBytes, Response& refusal) const;

    /** The response to a request whose body is too long, finished. */
    Response refuseBody(const Request& request) const;

    /** Runs the handler. Throws nothing: whatever goes wrong becomes a problem document. */
    Response run(const Route& route, const Request& request) const;

private:
    bool passes(const std::vector<Guard>& guards, const Request& request, Response& refusal) const;
    Response finished(const Request& request, Response response) const;
    const Route* choose(Request& request, size_t headerBytes, Response& refusal) const;

    const HttpLimits limits_;
    Router router_;
    std::vector<Guard> guards_;
    Finisher finisher_;
};

}  // namespace zelrtc::camera

#endif
