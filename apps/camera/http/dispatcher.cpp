#include "http/dispatcher.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <charconv>
#include <exception>
#include <utility>

#include "http/http_error.h"
#include "http/letter_case.h"

namespace zelrtc::camera {

namespace {

Response failure(const Request& request, const char* reason) {
    spdlog::error("{} {}: {}", request.method, request.path, reason);
    return problemResponse(500, "the camera could not handle the request");
}

Response problemOf(const HttpError& error) {
    Response response = problemResponse(error.httpStatus(), error.what());
    if (const auto pause = error.retryAfter()) {
        response.headers.push_back({"Retry-After", std::to_string(pause->count())});
    }
    return response;
}

Response responseOf(const Route& route, const Request& request) {
    try {
        return route.handler(request);
    } catch (const HttpError& error) {
        return problemOf(error);
    } catch (const std::exception& error) {
        return failure(request, error.what());
    } catch (...) {
        return failure(request, "unknown");
    }
}

bool isNoName(const Field& field) {
    return field.name.empty() || field.name.find_first_of(" \t") != std::string::npos;
}

// Two readers of such a header would not agree where the body ends, and one of them would take the rest of it for a
// request. So nothing more is read from this connection.
std::optional<Response> refuseDoubtfulLength(const Request& request) {
    const size_t lengths = request.countOf("content-length") + request.countOf("transfer-encoding");
    if (lengths <= 1 && std::none_of(request.headers.begin(), request.headers.end(), isNoName)) {
        return std::nullopt;
    }
    Response refusal = problemResponse(400, "it is not clear where the body ends");
    refusal.headers.push_back({"Connection", "close"});
    return refusal;
}

// A compressed body may become any size, and nobody who calls a camera needs one.
std::optional<Response> refuseEncodings(const Request& request) {
    const std::string content = lowerCase(request.header("content-encoding").value_or("identity"));
    if (content != "identity") {
        return problemResponse(415, "bodies in the content encoding " + content + " are not taken, only plain ones");
    }
    const std::string transfer = lowerCase(request.header("transfer-encoding").value_or("chunked"));
    if (transfer != "chunked") {
        return problemResponse(415,
                               "bodies in the transfer encoding " + transfer + " are not taken, only chunked ones");
    }
    return std::nullopt;
}

}  // namespace

Dispatcher::Dispatcher(const HttpLimits& limits) : limits_(limits) {
}

void Dispatcher::addGuard(Guard guard) {
    guards_.push_back(std::move(guard));
}

void Dispatcher::addRoute(Route route) {
    router_.add(std::move(route));
}

void Dispatcher::finishWith(Finisher finisher) {
    finisher_ = std::move(finisher);
}

const Route* Dispatcher::admit(Request& request, size_t headerBytes, Response& refusal) const {
    const Route* route = choose(request, headerBytes, refusal);
    if (route == nullptr) {
        refusal = finished(request, std::move(refusal));
    }
    return route;
}

const Route* Dispatcher::choose(Request& request, size_t headerBytes, Response& refusal) const {
    if (headerBytes > limits_.headerBytes) {
        refusal = problemResponse(431, "the header is longer than " + std::to_string(limits_.headerBytes) + " bytes");
        return nullptr;
    }
    if (!passes({refuseDoubtfulLength}, request, refusal) || !passes(guards_, request, refusal)) {
        return nullptr;
    }
    const Route* route = router_.find(request, refusal);
    const bool isAdmitted =
        route != nullptr && passes(route->guards, request, refusal) && passes({refuseEncodings}, request, refusal);
    return isAdmitted ? route : nullptr;
}

bool Dispatcher::passes(const std::vector<Guard>& guards, const Request& request, Response& refusal) const {
    for (const Guard& guard : guards) {
        if (auto refused = guard(request)) {
            refusal = std::move(*refused);
            return false;
        }
    }
    return true;
}

Response Dispatcher::refuseBody(const Request& request) const {
    return finished(request,
                    problemResponse(413, "the body is longer than " + std::to_string(limits_.bodyBytes) + " bytes"));
}

Response Dispatcher::run(const Route& route, const Request& request) const {
    return finished(request, responseOf(route, request));
}

Response Dispatcher::finished(const Request& request, Response response) const {
    if (finisher_) {
        finisher_(request, response);
    }
    return response;
}

}  // namespace zelrtc::camera
