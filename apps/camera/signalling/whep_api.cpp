#include "signalling/whep_api.h"

#include "http/http_error.h"
#include "http/letter_case.h"
#include "signalling/calls_api.h"
#include "signalling/offer_check.h"
#include "signalling/trickle_fragment.h"

namespace zelrtc::camera {

namespace {

using httplib::Request;
using httplib::Response;

constexpr const char* kEndpoint = "/whep";
constexpr const char* kSdp = "application/sdp";
constexpr const char* kFragment = "application/trickle-ice-sdpfrag";

// Without parameters, in lower case.
std::string mediaTypeOf(const Request& request) {
    const std::string header = request.get_header_value("Content-Type");
    return lowerCase(header.substr(0, header.find_first_of("; \t")));
}

void requireType(const Request& request, const std::string& type) {
    if (mediaTypeOf(request) != type) {
        throw Problem(415, "the body must be " + type);
    }
}

std::string tagOf(int id) {
    return "\"" + std::to_string(id) + "\"";
}

// "*" means an ICE restart. Players that never read the tag send none, and can only mean this session.
void requireSession(const Request& request, int id) {
    const std::string match = request.get_header_value("If-Match");
    if (match == "*") {
        throw Problem(501, "ICE restarts are not possible; end the call and place another");
    }
    if (!match.empty() && match != tagOf(id)) {
        throw Problem(412, "the ICE session is another one: " + tagOf(id));
    }
}

// One complete answer: players need not support trickle, and the rest of the exchange stays optional.
void place(const Request& request, Response& response, CallRegistry& calls) {
    requireType(request, kSdp);
    const std::string offer = offerFromSdp(request.body);
    checkOffer(offer);
    const auto call = calls.place(offer, false);
    const std::string answer = answerOf(*call, calls);
    response.status = 201;
    response.set_header("Location", std::string(kEndpoint) + "/" + std::to_string(call->id()));
    response.set_header("ETag", tagOf(call->id()));
    response.set_header("Accept-Patch", kFragment);
    response.set_content(sdpOfAnswer(answer), kSdp);
}

void trickle(const Request& request, Response& response, CallRegistry& calls) {
    const int id = callIdIn(request);
    const auto call = calls.find(id);
    requireType(request, kFragment);
    requireSession(request, id);
    for (const std::string& candidate : candidatesOfFragment(request.body)) {
        checkCandidate(candidate);
        call->addCandidate(candidate);
    }
    response.status = 204;
}

void hangUp(const Request& request, Response& response, CallRegistry& calls) {
    calls.end(callIdIn(request), "the viewer hung up");
    response.status = 200;
}

bool isWhep(const std::string& path) {
    return path == kEndpoint || path.rfind(std::string(kEndpoint) + "/", 0) == 0;
}

// Players run on pages of other sites, which must be able to read errors as well.
void allowOtherSites(const Request& request, Response& response) {
    if (isWhep(request.path)) {
        response.set_header("Access-Control-Allow-Origin", "*");
        response.set_header("Access-Control-Expose-Headers", "Location, ETag, Accept-Patch, Allow");
    }
}

void answerPreflight(Response& response, const char* accepted, const char* type) {
    response.status = 204;
    response.set_header("Access-Control-Allow-Methods", "POST, PATCH, DELETE, OPTIONS");
    response.set_header("Access-Control-Allow-Headers", "Content-Type, If-Match, Authorization");
    response.set_header(accepted, type);
}

}  // namespace

void addWhepRoutes(HttpServer& server, CallRegistry& calls) {
    const std::string session = std::string(kEndpoint) + "/" CAMERA_PATH_NUMBER;
    server.route("OPTIONS", kEndpoint,
                 [](const Request&, Response& response) { answerPreflight(response, "Accept-Post", kSdp); });
    server.route("OPTIONS", session,
                 [](const Request&, Response& response) { answerPreflight(response, "Accept-Patch", kFragment); });
    server.route("POST", kEndpoint,
                 [&calls](const Request& request, Response& response) { place(request, response, calls); });
    server.route("PATCH", session,
                 [&calls](const Request& request, Response& response) { trickle(request, response, calls); });
    server.route("DELETE", session,
                 [&calls](const Request& request, Response& response) { hangUp(request, response, calls); });
    server.finishResponsesWith(allowOtherSites);
}

}  // namespace zelrtc::camera
