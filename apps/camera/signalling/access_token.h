/** @file access_token.h The key to the camera's door. */
#ifndef APPS_CAMERA_SIGNALLING_ACCESS_TOKEN_H
#define APPS_CAMERA_SIGNALLING_ACCESS_TOKEN_H

#include <optional>
#include <string>

#include "http/request.h"
#include "http/response.h"

namespace zelrtc::camera {

/**
 * Reads a token from the first line of a file.
 * @throw std::runtime_error with a sentence for the user when there is none, or one that can be guessed or not be
 *        written in an address
 */
std::string readToken(const std::string& path);

/**
 * 401 unless the request bears the token. The page itself needs none, since it shows nothing; neither do the questions
 * that browsers ask before requests of other sites, nor a call's events: browsers cannot add a token to those, and a
 * call's address is a secret of its own.
 */
std::optional<Response> refuseStrangers(const Request& request, const std::string& token);

}  // namespace zelrtc::camera

#endif
