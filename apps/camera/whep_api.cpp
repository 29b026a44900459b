#include "whep_api.h"

#include <utility>

#include "calls_api.h"
#include "offer_check.h"
#include "problem.h"
#include "trickle_fragment.h"

namespace camera {

namespace {

using httplib::Request;
using httplib::Response;

constexpr const char* SDP = "application/sdp";
constexpr const char* FRAGMENT = "application/trickle-ice-sdpfrag";

void requireType(const Request& request, const std::string& type) {
    const std::string given = request.get_header_value("Content-Type");
    if (given.compare(0, type.size(), type) != 0) {
        throw Problem(415, "the body must be " + type);
    }
}

std::string tagOf(int id) {
    return "\"" + std::to_string(id) + "\"";
}

// One complete answer: players need not support trickle, and the rest of the exchange stays optional.
void place(const Request& request, Response& response, CallRegistry& calls) {
    requireType(request, SDP);
    const std::string offer = offerFromSdp(request.body);
    checkOffer(offer);
    const auto call = calls.place(offer, false);
    const std::string answer = answerOf(*call, calls);
    response.status = 201;
    response.set_header("Location", "/whep/" + std::to_string(call->id()));
    response.set_header("ETag", tagOf(call->id()));
    response.set_header("Accept-Patch", FRAGMENT);
    response.set_content(sdpOfAnswer(answer), SDP);
}

void trickle(const Request& request, Response& response, CallRegistry& calls) {
    const int id = callIdIn(request);
    const auto call = calls.find(id);
    requireType(request, FRAGMENT);
    const std::string match = request.get_header_value("If-Match");
    if (!match.empty() && match != tagOf(id)) {
        throw Problem(412, "the ICE session is another one; restarts are not possible");
    }
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

// Players run on pages of other sites.
void allowOtherSites(Response& response) {
    response.set_header("Access-Control-Allow-Origin", "*");
    response.set_header("Access-Control-Expose-Headers", "Location, ETag, Accept-Patch");
}

void answerPreflight(Response& response) {
    response.status = 204;
    response.set_header("Access-Control-Allow-Methods", "POST, PATCH, DELETE, OPTIONS");
    response.set_header("Access-Control-Allow-Headers", "Content-Type, If-Match, Authorization");
    response.set_header("Accept-Post", SDP);
}

using WhepHandler = void (*)(const Request&, Response&, CallRegistry&);

HttpServer::Handler open(WhepHandler handler, CallRegistry& calls) {
    return [handler, &calls](const Request& request, Response& response) {
        allowOtherSites(response);
        handler(request, response, calls);
    };
}

}  // namespace

void addWhepRoutes(HttpServer& server, CallRegistry& calls) {
    const auto preflight =
        open([](const Request&, Response& response, CallRegistry&) { answerPreflight(response); }, calls);
    server.route("OPTIONS", "/whep", preflight);
    server.route("OPTIONS", "/whep/" CAMERA_PATH_NUMBER, preflight);
    server.route("POST", "/whep", open(place, calls));
    server.route("PATCH", "/whep/" CAMERA_PATH_NUMBER, open(trickle, calls));
    server.route("DELETE", "/whep/" CAMERA_PATH_NUMBER, open(hangUp, calls));
}

}  // namespace camera
