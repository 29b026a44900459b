/** @file sdk_json.h The JSON that the SDK reads and writes: descriptions and candidates. */
#ifndef APPS_CAMERA_SIGNALLING_SDK_JSON_H
#define APPS_CAMERA_SIGNALLING_SDK_JSON_H

#include <string>

#include "signalling/trickle_fragment.h"

namespace zelrtc::camera {

/** The offer with this SDP, with as few escapes as JSON allows: the SDK undoes none but those of line ends. */
std::string offerJson(const std::string& sdp);

/** One candidate. */
std::string candidateJson(const TrickledCandidate& candidate);

/** The SDP in an answer; empty when there is none. */
std::string sdpOfAnswer(const std::string& answer);

}  // namespace zelrtc::camera

#endif
