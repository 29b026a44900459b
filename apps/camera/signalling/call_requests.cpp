#include "signalling/call_requests.h"

#include <utility>

#include "call/call_error.h"
#include "http/http_error.h"
#include "signalling/sdk_status.h"

namespace zelrtc::camera {

namespace {

// By then calls that never connect have failed, or have given way.
constexpr std::chrono::seconds kRetryAfter(5);

HttpError httpErrorOf(const CallError& error) {
    switch (error.kind()) {
        case CallError::Kind::kNoSuchCall:
            return {404, error.what()};
        case CallError::Kind::kUnavailable:
            return {503, error.what(), kRetryAfter};
        case CallError::Kind::kTooManyOfOne:
            return {429, error.what(), kRetryAfter};
        case CallError::Kind::kNoAnswer:
            return {504, error.what()};
        case CallError::Kind::kOfferRefused:
            return errorOfOffer(error.what(), error.sdkStatus());
        default:
            return errorOfStatus(error.what(), error.sdkStatus());
    }
}

}  // namespace

void addCallRoute(HttpServer& server, const std::string& method, const Path& path, const Handler& handler,
                  std::vector<Guard> guards) {
    const Handler translated = [handler](const Request& request) {
        try {
            return handler(request);
        } catch (const CallError& error) {
            throw httpErrorOf(error);
        }
    };
    server.route(method, path, translated, std::move(guards));
}

const std::string& callKeyIn(const Request& request) {
    return request.variables.at(0);
}

}  // namespace zelrtc::camera
