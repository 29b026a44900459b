#include "signalling/calls_api.h"

#include <nlohmann/json.hpp>

#include "http/http_error.h"
#include "process/process_usage.h"
#include "signalling/call_requests.h"
#include "signalling/event_stream.h"
#include "signalling/offer_check.h"
#include "signalling/page_policy.h"
#include "signalling/sdk_json.h"
#include "signalling/viewer_page.h"

namespace zelrtc::camera {

namespace {

using nlohmann::json;
Response jsonResponse(int status, const json& body) {
    Response response;
    response.status = status;
    response.type = "application/json";
    response.body = body.dump(-1, ' ', false, json::error_handler_t::replace);
    response.headers.push_back({"Cache-Control", "no-store"});
    return response;
}

Response emptyResponse() {
    Response response;
    response.status = 204;
    return response;
}

Response pageResponse() {
    static const std::string kPolicy = pagePolicy(kPage);
    Response response;
    response.type = "text/html; charset=utf-8";
    response.body = kPage;
    response.headers = {{"Cache-Control", "no-cache"},
                        {"Content-Security-Policy", kPolicy},
                        {"X-Content-Type-Options", "nosniff"},
                        {"Referrer-Policy", "no-referrer"}};
    return response;
}

// One that no page may send to another site without the browser asking there first.
std::optional<Response> mustBeJson(const Request& request) {
    return requireMediaType(request, "application/json");
}

std::optional<bool> trickleWish(const Request& request) {
    const auto value = request.parameter("trickle");
    if (!value) {
        return std::nullopt;
    }
    if (value != "0" && value != "1") {
        throw HttpError(400, "trickle is neither 0 nor 1");
    }
    return value == "1";
}

Response placeCall(const Request& request, CallRegistry& calls) {
    const std::string sdp = sdpOfOffer(request.body);
    checkOfferedSdp(sdp);
    const auto call = calls.place(offerJson(sdp), trickleWish(request), request.client);
    const std::string answer = calls.answerOf(*call);
    Response response = jsonResponse(201, {{"id", call->id()},
                                           {"key", call->key()},
                                           {"trickle", call->isTrickle()},
                                           {"answer", json::parse(answer, nullptr, false)}});
    response.headers.push_back({"Location", "/calls/" + call->key()});
    return response;
}

Response listCalls(CallRegistry& calls) {
    json list = json::array();
    for (const auto& call : calls.all()) {
        const CallSummary summary = call->summary();
        list.push_back({{"state", summary.state},
                        {"video", summary.selection.video},
                        {"audio", summary.selection.audio},
                        {"trickle", summary.trickle},
                        {"seconds", summary.seconds}});
    }
    return jsonResponse(200, list);
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

bool keyFrameIn(const json& wish) {
    const auto member = wish.find("keyFrame");
    if (member == wish.end()) {
        return false;
    }
    if (!member->is_boolean()) {
        throw HttpError(400, "keyFrame is neither true nor false");
    }
    return member->get<bool>();
}

Response selectStreams(const Request& request, CallRegistry& calls) {
    const auto call = calls.find(callKeyIn(request));
    const json wish = json::parse(request.body, nullptr, false);
    if (!wish.is_object()) {
        throw HttpError(400, "the body is not a JSON object such as {\"video\":2,\"audio\":false}");
    }
    const bool wantsKeyFrame = keyFrameIn(wish);
    const Selection selection = call->select(videoIn(wish), audioIn(wish));
    if (wantsKeyFrame) {
        call->requestKeyFrame();
    }
    return jsonResponse(200, {{"video", selection.video}, {"audio", selection.audio}});
}

Response addCandidate(const Request& request, CallRegistry& calls) {
    const auto call = calls.find(callKeyIn(request));
    checkCandidate(request.body);
    call->addCandidate(request.body);
    return emptyResponse();
}

Response endCall(const Request& request, CallRegistry& calls) {
    calls.end(callKeyIn(request), "the viewer hung up");
    return emptyResponse();
}

json sourcesOf(const MediaHub& hub) {
    json list = json::array();
    for (const SourceState& source : hub.sources()) {
        list.push_back({{"state", nameOf(source.kind)},
                        {"failures", source.failures},
                        {"reason", source.reason},
                        {"complaint", source.complaint}});
    }
    return list;
}

Response tellHealth(CallRegistry& calls, const MediaHub& hub) {
    json health{{"status", "ok"},
                {"calls", calls.held()},
                {"descriptors", openDescriptors()},
                {"threads", runningThreads()},
                {"encoders", hub.runningEncoders()},
                {"sources", sourcesOf(hub)}};
    if (const auto inUse = heapBytes()) {
        health["heapBytes"] = *inUse;
    }
    return jsonResponse(200, health);
}

}  // namespace

void addCallRoutes(HttpServer& server, CallRegistry& calls, const MediaHub& hub) {
    server.route("GET", {}, [](const Request&) { return pageResponse(); });
    server.route("GET", {"health"}, [&](const Request&) { return tellHealth(calls, hub); });
    addCallRoute(server, "GET", {"calls"}, [&](const Request&) { return listCalls(calls); });
    addCallRoute(server, "POST", {"calls"}, [&](const Request& request) { return placeCall(request, calls); },
                 {mustBeJson});
    addCallRoute(server, "DELETE", {"calls", kOpen}, [&](const Request& request) { return endCall(request, calls); });
    addCallRoute(server, "GET", {"calls", kOpen, "events"},
                 [&](const Request& request) { return streamEvents(calls.eventsOf(callKeyIn(request)), request); });
    addCallRoute(server, "POST", {"calls", kOpen, "candidates"},
                 [&](const Request& request) { return addCandidate(request, calls); }, {mustBeJson});
    addCallRoute(server, "POST", {"calls", kOpen, "streams"},
                 [&](const Request& request) { return selectStreams(request, calls); }, {mustBeJson});
}

}  // namespace zelrtc::camera
