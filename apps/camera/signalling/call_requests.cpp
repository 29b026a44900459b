#include "signalling/call_requests.h"

#include <charconv>

#include "call/call_error.h"
#include "http/http_error.h"
#include "signalling/sdk_status.h"

namespace zelrtc::camera {

namespace {

HttpError httpErrorOf(const CallError& error) {
    switch (error.kind()) {
        case CallError::Kind::kNoSuchCall:
            return {404, error.what()};
        case CallError::Kind::kUnavailable:
            return {503, error.what()};
        case CallError::Kind::kNoAnswer:
            return {504, error.what()};
        case CallError::Kind::kOfferRefused:
            return errorOfOffer(error.what(), error.sdkStatus());
        default:
            return errorOfStatus(error.what(), error.sdkStatus());
    }
}

}  // namespace

void addCallRoute(HttpServer& server, const std::string& method, const std::string& pattern,
                  const HttpServer::Handler& handler) {
    server.route(method, pattern, [handler](const httplib::Request& request, httplib::Response& response) {
        try {
            handler(request, response);
        } catch (const CallError& error) {
            throw httpErrorOf(error);
        }
    });
}

int callIdIn(const httplib::Request& request) {
    const std::string text = request.matches[1];
    int id = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), id).ec != std::errc()) {
        throw HttpError(404, "there is no call " + text);
    }
    return id;
}

}  // namespace zelrtc::camera
