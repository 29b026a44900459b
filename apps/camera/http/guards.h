/** @file guards.h Checks that run before a handler and before the body is read. They keep no state. */
#ifndef APPS_CAMERA_HTTP_GUARDS_H
#define APPS_CAMERA_HTTP_GUARDS_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "http/request.h"
#include "http/response.h"

namespace zelrtc::camera {

/** Looks at a request before its body is read. Nothing: it may go on; otherwise the response that it gets instead. */
using Guard = std::function<std::optional<Response>(const Request& request)>;

/** The names under which a server may be addressed. */
struct HostNames {
    bool anyAddress = false;        /**< every numeric address, not only those of the loopback interface */
    std::vector<std::string> names; /**< in lower case, without ports; "localhost" always counts */
};

/**
 * 421 unless the Host is one of ours. A page whose own name was rebound to the server's address still sends its own
 * name, so numeric addresses and known names are safe while any other name is not. The port does not matter: it may
 * have been forwarded.
 */
std::optional<Response> refuseOtherHosts(const Request& request, const HostNames& ours);

/** Whether a request comes from a page of another site, other than those of `allowed` (as in "https://example.com"). */
bool isFromOtherSite(const Request& request, const std::vector<std::string>& allowed);

/** 403 when the request comes from a page of another site that is not allowed. */
std::optional<Response> refuseOtherSites(const Request& request, const std::vector<std::string>& allowed);

/**
 * 415 unless the body has this media type. None of those that a page may send to another site without asking it first
 * should be given here.
 * @param type in lower case, without parameters
 */
std::optional<Response> requireMediaType(const Request& request, const std::string& type);

/** 401 unless the request bears the token; one with a wrong token has to wait for its response. */
std::optional<Response> requireToken(const Request& request, const std::string& token);

/** Whether two texts are equal, in a time that depends on their lengths only. */
bool isSameSecret(const std::string& one, const std::string& other);

}  // namespace zelrtc::camera

#endif
