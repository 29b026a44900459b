#include "signalling/whep_api.h"

#include "http/http_error.h"
#include "signalling/call_requests.h"
#include "signalling/offer_check.h"
#include "signalling/sdk_json.h"
#include "signalling/trickle_fragment.h"

namespace zelrtc::camera {

namespace {

constexpr const char* kEndpoint = "whep";
constexpr const char* kSdp = "application/sdp";
constexpr const char* kFragment = "application/trickle-ice-sdpfrag";

Guard mustBe(const char* type) {
    return [type](const Request& request) { return requireMediaType(request, type); };
}

std::string tagOf(int id) {
    return "\"" + std::to_string(id) + "\"";
}

// "*" means an ICE restart. Players that never read the tag send none, and can only mean this session.
void requireSession(const Request& request, int id) {
    const std::string match = request.header("if-match").value_or("");
    if (match == "*") {
        throw HttpError(501, "ICE restarts are not possible; end the call and place another");
    }
    if (!match.empty() && match != tagOf(id)) {
        throw HttpError(412, "the ICE session is another one: " + tagOf(id));
    }
}

// One complete answer: players need not support trickle, and the rest of the exchange stays optional.
Response place(const Request& request, CallRegistry& calls) {
    checkOfferedSdp(request.body);
    const auto call = calls.place(offerJson(request.body), false, request.client);
    const std::string answer = calls.answerOf(*call);
    Response response;
    response.status = 201;
    response.type = kSdp;
    response.body = sdpOfAnswer(answer);
    response.headers = {{"Location", "/whep/" + call->key()}, {"ETag", tagOf(call->id())}, {"Accept-Patch", kFragment}};
    return response;
}

Response trickle(const Request& request, CallRegistry& calls) {
    const auto call = calls.find(callKeyIn(request));
    requireSession(request, call->id());
    if (request.body.empty()) {
        throw HttpError(400, "there is no fragment in the body");
    }
    for (const TrickledCandidate& candidate : candidatesOfFragment(request.body)) {
        checkCandidateLine(candidate.line);
        call->addCandidate(candidateJson(candidate));
    }
    Response response;
    response.status = 204;
    return response;
}

Response hangUp(const Request& request, CallRegistry& calls) {
    calls.end(callKeyIn(request), "the viewer hung up");
    return {};
}

bool isWhep(const std::string& path) {
    const std::string endpoint = "/" + std::string(kEndpoint);
    return path == endpoint || path.rfind(endpoint + "/", 0) == 0;
}

// Players run on pages of other sites, which must be able to read errors as well.
Finisher readableBy(const std::vector<std::string>& allowedOrigins) {
    return [allowedOrigins](const Request& request, Response& response) {
        const auto origin = request.header("origin");
        if (!origin || !isWhep(request.path) || isFromOtherSite(request, allowedOrigins)) {
            return;
        }
        response.headers.push_back({"Access-Control-Allow-Origin", *origin});
        response.headers.push_back(
            {"Access-Control-Expose-Headers", "Location, ETag, Accept-Patch, Allow, Retry-After"});
        response.headers.push_back({"Vary", "Origin"});
    };
}

Response preflightResponse(const char* accepted, const char* type) {
    Response response;
    response.status = 204;
    response.headers = {{"Access-Control-Allow-Methods", "POST, PATCH, DELETE, OPTIONS"},
                        {"Access-Control-Allow-Headers", "Content-Type, If-Match, Authorization"},
                        {accepted, type}};
    return response;
}

}  // namespace

void addWhepRoutes(HttpServer& server, CallRegistry& calls, const std::vector<std::string>& allowedOrigins) {
    server.route("OPTIONS", {kEndpoint}, [](const Request&) { return preflightResponse("Accept-Post", kSdp); });
    server.route("OPTIONS", {kEndpoint, kOpen},
                 [](const Request&) { return preflightResponse("Accept-Patch", kFragment); });
    addCallRoute(server, "POST", {kEndpoint}, [&calls](const Request& request) { return place(request, calls); },
                 {mustBe(kSdp)});
    addCallRoute(server, "PATCH", {kEndpoint, kOpen},
                 [&calls](const Request& request) { return trickle(request, calls); }, {mustBe(kFragment)});
    addCallRoute(server, "DELETE", {kEndpoint, kOpen},
                 [&calls](const Request& request) { return hangUp(request, calls); });
    server.finishResponsesWith(readableBy(allowedOrigins));
}

}  // namespace zelrtc::camera
