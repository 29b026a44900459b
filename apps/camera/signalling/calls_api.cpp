#include "signalling/calls_api.h"

#include <nlohmann/json.hpp>

#include "http/http_error.h"
#include "process/process_usage.h"
#include "signalling/call_requests.h"
#include "signalling/event_stream.h"
#include "signalling/offer_check.h"
#include "signalling/sdk_json.h"
#include "signalling/viewer_page.h"

namespace zelrtc::camera {

namespace {

using httplib::Request;
using httplib::Response;
using nlohmann::json;
void respond(Response& response, int status, const json& body) {
    response.status = status;
    response.set_header("Cache-Control", "no-store");
    response.set_content(body.dump(-1, ' ', false, json::error_handler_t::replace), "application/json");
}

std::optional<bool> trickleWish(const Request& request) {
    if (!request.has_param("trickle")) {
        return std::nullopt;
    }
    const std::string value = request.get_param_value("trickle");
    if (value != "0" && value != "1") {
        throw HttpError(400, "trickle is neither 0 nor 1");
    }
    return value == "1";
}

void placeCall(const Request& request, Response& response, CallRegistry& calls) {
    const std::string sdp = sdpOfOffer(request.body);
    checkOfferedSdp(sdp);
    const auto call = calls.place(offerJson(sdp), trickleWish(request));
    const std::string answer = calls.answerOf(*call);
    response.set_header("Location", "/calls/" + std::to_string(call->id()));
    respond(response, 201,
            {{"id", call->id()}, {"trickle", call->isTrickle()}, {"answer", json::parse(answer, nullptr, false)}});
}

void listCalls(Response& response, CallRegistry& calls) {
    json list = json::array();
    for (const auto& call : calls.all()) {
        const CallSummary summary = call->summary();
        list.push_back({{"id", summary.id},
                        {"state", summary.state},
                        {"video", summary.selection.video},
                        {"audio", summary.selection.audio},
                        {"trickle", summary.trickle},
                        {"seconds", summary.seconds}});
    }
    respond(response, 200, list);
}

std::optional<int> videoIn(const json& wish) {
    const auto member = wish.find("video");
    if (member == wish.end()) {
        return std::nullopt;
    }
    if (!member->is_number_integer() || *member < 0 || *member >= kVideoStreams) {
        throw HttpError(400, "video is not the number of a stream: 0, 1 or 2");
    }
    return member->get<int>();
}

std::optional<bool> audioIn(const json& wish) {
    const auto member = wish.find("audio");
    if (member == wish.end()) {
        return std::nullopt;
    }
    if (!member->is_boolean()) {
        throw HttpError(400, "audio is neither true nor false");
    }
    return member->get<bool>();
}

void selectStreams(const Request& request, Response& response, CallRegistry& calls) {
    const auto call = calls.find(callIdIn(request));
    const json wish = json::parse(request.body, nullptr, false);
    if (!wish.is_object()) {
        throw HttpError(400, "the body is not a JSON object such as {\"video\":2,\"audio\":false}");
    }
    const Selection selection = call->select(videoIn(wish), audioIn(wish));
    respond(response, 200, {{"video", selection.video}, {"audio", selection.audio}});
}

void addCandidate(const Request& request, Response& response, CallRegistry& calls) {
    const auto call = calls.find(callIdIn(request));
    checkCandidate(request.body);
    call->addCandidate(request.body);
    response.status = 204;
}

void endCall(const Request& request, Response& response, CallRegistry& calls) {
    calls.end(callIdIn(request), "the viewer hung up");
    response.status = 204;
}

void tellHealth(Response& response, CallRegistry& calls, const MediaHub& hub) {
    json health{{"status", "ok"},
                {"calls", calls.held()},
                {"descriptors", openDescriptors()},
                {"threads", runningThreads()},
                {"encoders", hub.runningEncoders()}};
    if (const auto inUse = heapBytes()) {
        health["heapBytes"] = *inUse;
    }
    respond(response, 200, health);
}

}  // namespace

void addCallRoutes(HttpServer& server, CallRegistry& calls, const MediaHub& hub) {
    server.route("GET", "/", [](const Request&, Response& response) {
        response.set_header("Cache-Control", "no-cache");
        response.set_content(kPage.data(), kPage.size(), "text/html; charset=utf-8");
    });
    server.route("GET", "/health", [&](const Request&, Response& response) { tellHealth(response, calls, hub); });
    addCallRoute(server, "GET", "/calls", [&](const Request&, Response& response) { listCalls(response, calls); });
    addCallRoute(server, "POST", "/calls",
                 [&](const Request& request, Response& response) { placeCall(request, response, calls); });
    addCallRoute(server, "DELETE", "/calls/" CAMERA_PATH_NUMBER,
                 [&](const Request& request, Response& response) { endCall(request, response, calls); });
    addCallRoute(server, "GET", "/calls/" CAMERA_PATH_NUMBER "/events",
                 [&](const Request& request, Response& response) {
                     streamEvents(calls.eventsOf(callIdIn(request)), request, response);
                 });
    addCallRoute(server, "POST", "/calls/" CAMERA_PATH_NUMBER "/candidates",
                 [&](const Request& request, Response& response) { addCandidate(request, response, calls); });
    addCallRoute(server, "POST", "/calls/" CAMERA_PATH_NUMBER "/streams",
                 [&](const Request& request, Response& response) { selectStreams(request, response, calls); });
}

}  // namespace zelrtc::camera
