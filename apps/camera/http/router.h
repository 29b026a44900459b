/** @file router.h Which handler a request goes to. */
#ifndef APPS_CAMERA_HTTP_ROUTER_H
#define APPS_CAMERA_HTTP_ROUTER_H

#include <functional>
#include <string>
#include <vector>

#include "http/guards.h"
#include "http/request.h"
#include "http/response.h"

namespace zelrtc::camera {

/** In a route's path: a segment that any text but none fits; what it was is in Request::variables. */
const char* const kOpen = "";

/** The segments of a path, such as {"calls", kOpen, "events"}; none for "/". */
using Path = std::vector<std::string>;

/** Answers one request, on a thread of the server's pool. May block; may throw HttpError. */
using Handler = std::function<Response(const Request& request)>;

/** One way to use one address. */
struct Route {
    std::string method;
    Path path;
    Handler handler;
    std::vector<Guard> guards; /**< on top of the server's, after them */
};

/** All routes of a server. */
class Router {
public:
    void add(Route route);

    /**
     * The route of a request, whose variables it fills in; a HEAD request has the route of GET.
     * @return null when there is none; then the reason is in `refusal`
     */
    const Route* find(Request& request, Response& refusal) const;

private:
    std::vector<std::string> methodsFor(const std::vector<std::string>& segments) const;

    std::vector<Route> routes_;
};

}  // namespace zelrtc::camera

#endif
