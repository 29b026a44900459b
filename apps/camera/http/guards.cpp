#include "http/guards.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>

#include "http/letter_case.h"

namespace zelrtc::camera {

namespace {

// Guessing goes through the few connections that an address may have, so this alone makes it hopeless.
constexpr std::chrono::milliseconds kWrongTokenDelay(500);

bool isPort(const std::string& text) {
    return text.empty() || (text.front() == ':' && std::all_of(text.begin() + 1, text.end(), [](char letter) {
                                return letter >= '0' && letter <= '9';
                            }));
}

// The name without the port, IPv6 addresses without their brackets; empty when something else than a port follows.
std::string nameIn(const std::string& host) {
    const bool isBracketed = !host.empty() && host.front() == '[';
    const size_t begin = isBracketed ? 1 : 0;
    const size_t end = std::min(host.find(isBracketed ? ']' : ':'), host.size());
    const size_t rest = end + begin;
    return rest <= host.size() && isPort(host.substr(rest)) ? lowerCase(host.substr(begin, end - begin)) : "";
}

bool isLoopback(const in6_addr& address) {
    const bool isMapped = IN6_IS_ADDR_V4MAPPED(&address);
    return IN6_IS_ADDR_LOOPBACK(&address) || (isMapped && address.s6_addr[12] == 127);
}

bool isOurs(const std::string& name, const HostNames& ours) {
    in_addr ipv4{};
    in6_addr ipv6{};
    if (inet_pton(AF_INET, name.c_str(), &ipv4) == 1) {
        return ours.anyAddress || (ntohl(ipv4.s_addr) >> 24U) == 127;
    }
    if (inet_pton(AF_INET6, name.c_str(), &ipv6) == 1) {
        return ours.anyAddress || isLoopback(ipv6);
    }
    return name == "localhost" || std::count(ours.names.begin(), ours.names.end(), name) > 0;
}

std::string authorityOf(const std::string& origin) {
    const size_t scheme = origin.find("://");
    return scheme == std::string::npos ? "" : origin.substr(scheme + 3);
}

// Pictures, scripts and frames are fetched without an Origin, and then only this tells. A link may lead here from
// anywhere.
bool isPartOfOtherSite(const Request& request) {
    const std::string site = request.header("sec-fetch-site").value_or("");
    const bool isOther = site == "cross-site" || site == "same-site";
    return isOther && request.header("sec-fetch-dest") != "document";
}

std::string bearerIn(const Request& request) {
    constexpr size_t kSchemeLength = 7;
    const std::string credentials = request.header("authorization").value_or("");
    return lowerCase(credentials.substr(0, kSchemeLength)) == "bearer " ? credentials.substr(kSchemeLength) : "";
}

}  // namespace

std::optional<Response> refuseOtherHosts(const Request& request, const HostNames& ours) {
    if (request.countOf("host") != 1) {
        return problemResponse(400, "the request does not name one host");
    }
    const std::string host = *request.header("host");
    if (isOurs(nameIn(host), ours)) {
        return std::nullopt;
    }
    return problemResponse(421, "this camera is not " + host);
}

// The Host has been found to be ours by then, so a page of ours is one that came from it.
bool isFromOtherSite(const Request& request, const std::vector<std::string>& allowed) {
    const auto origin = request.header("origin");
    if (!origin) {
        return isPartOfOtherSite(request);
    }
    const std::string authority = lowerCase(authorityOf(*origin));
    const bool isOwn = !authority.empty() && authority == lowerCase(request.header("host").value_or(""));
    return !isOwn && std::count(allowed.begin(), allowed.end(), *origin) == 0;
}

std::optional<Response> refuseOtherSites(const Request& request, const std::vector<std::string>& allowed) {
    if (!isFromOtherSite(request, allowed)) {
        return std::nullopt;
    }
    return problemResponse(403,
                           "pages of " + request.header("origin").value_or("other sites") + " may not use this camera");
}

std::optional<Response> requireMediaType(const Request& request, const std::string& type) {
    if (request.mediaType() == type) {
        return std::nullopt;
    }
    return problemResponse(415, "the body must be " + type);
}

std::optional<Response> requireToken(const Request& request, const std::string& token) {
    const std::string given = bearerIn(request);
    if (isSameSecret(given, token)) {
        return std::nullopt;
    }
    Response refusal = problemResponse(401, given.empty() ? "this camera wants a token" : "the token is wrong");
    refusal.headers.push_back({"WWW-Authenticate", "Bearer"});
    refusal.delay = given.empty() ? std::chrono::milliseconds(0) : kWrongTokenDelay;
    return refusal;
}

bool isSameSecret(const std::string& one, const std::string& other) {
    if (one.size() != other.size()) {
        return false;
    }
    unsigned difference = 0;
    for (size_t at = 0; at < one.size(); ++at) {
        difference |= static_cast<unsigned char>(one[at]) ^ static_cast<unsigned char>(other[at]);
    }
    return difference == 0;
}

}  // namespace zelrtc::camera
