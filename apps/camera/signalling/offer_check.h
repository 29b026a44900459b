/** @file offer_check.h Checks what viewers send before a session sees it, to say in words what is wrong. */
#ifndef APPS_CAMERA_SIGNALLING_OFFER_CHECK_H
#define APPS_CAMERA_SIGNALLING_OFFER_CHECK_H

#include <string>

namespace zelrtc::camera {

/**
 * The SDP of an offer in JSON, as a browser writes it; not checked yet.
 * @throw HttpError 400 for what is no offer
 */
std::string sdpOfOffer(const std::string& text);

/**
 * Refuses what cannot be the SDP of a viewer's offer.
 * @throw HttpError 400 for what is no session description, 413 for one that is too long, 422 for one without video,
 * without H.264 in packetization mode 1 or without rtcp-mux
 */
void checkOfferedSdp(const std::string& sdp);

/** Refuses a candidate line that is too long. @throw HttpError 400 */
void checkCandidateLine(const std::string& line);

/** Refuses what is no candidate in JSON. @throw HttpError 400 */
void checkCandidate(const std::string& text);

}  // namespace zelrtc::camera

#endif
