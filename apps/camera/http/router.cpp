#include "http/router.h"

#include <algorithm>
#include <utility>

namespace zelrtc::camera {

namespace {

std::vector<std::string> segmentsOf(const std::string& path) {
    if (path.empty() || path.front() != '/') {
        return {path};  // "*" and whole URLs; no route has such a segment
    }
    std::vector<std::string> segments;
    for (size_t at = 1; at < path.size();) {
        const size_t end = std::min(path.find('/', at), path.size());
        segments.push_back(path.substr(at, end - at));
        at = end + 1;
    }
    // "/calls/" is not "/calls".
    if (path.size() > 1 && path.back() == '/') {
        segments.emplace_back();
    }
    return segments;
}

bool fits(const Path& path, const std::vector<std::string>& segments) {
    return std::equal(path.begin(), path.end(), segments.begin(), segments.end(),
                      [](const std::string& expected, const std::string& given) {
                          return expected == kOpen ? !given.empty() : expected == given;
                      });
}

std::vector<std::string> variablesOf(const Path& path, const std::vector<std::string>& segments) {
    std::vector<std::string> variables;
    for (size_t i = 0; i < path.size(); ++i) {
        if (path[i] == kOpen) {
            variables.push_back(segments[i]);
        }
    }
    return variables;
}

std::string joined(const std::vector<std::string>& words) {
    std::string list;
    for (const std::string& word : words) {
        list += (list.empty() ? "" : ", ") + word;
    }
    return list;
}

}  // namespace

void Router::add(Route route) {
    routes_.push_back(std::move(route));
}

const Route* Router::find(Request& request, Response& refusal) const {
    const std::vector<std::string> segments = segmentsOf(request.path);
    const std::string method = request.method == "HEAD" ? "GET" : request.method;
    const auto found = std::find_if(routes_.begin(), routes_.end(), [&](const Route& route) {
        return route.method == method && fits(route.path, segments);
    });
    if (found != routes_.end()) {
        request.variables = variablesOf(found->path, segments);
        return &*found;
    }
    const std::string allowed = joined(methodsFor(segments));
    if (allowed.empty()) {
        refusal = problemResponse(404, "there is nothing at " + request.path);
    } else {
        refusal = problemResponse(405, request.method + " is not possible here, only " + allowed);
        refusal.headers.push_back({"Allow", allowed});
    }
    return nullptr;
}

std::vector<std::string> Router::methodsFor(const std::vector<std::string>& segments) const {
    std::vector<std::string> methods;
    for (const Route& route : routes_) {
        if (fits(route.path, segments)) {
            methods.push_back(route.method);
        }
    }
    return methods;
}

}  // namespace zelrtc::camera
