/** @file offer_check.h Checks what viewers send before a session sees it, to say in words what is wrong. */
#ifndef APPS_CAMERA_SIGNALLING_OFFER_CHECK_H
#define APPS_CAMERA_SIGNALLING_OFFER_CHECK_H

#include <string>

namespace zelrtc::camera {

/**
 * Refuses what cannot be a viewer's offer.
 * @param text the body of a request: the SDK's JSON form of an offer
 * @throw Problem 400 for what is no offer, 413 for one that is too long, 422 for an offer without video or without
 * H.264
 */
void checkOffer(const std::string& text);

/**
 * Refuses what cannot be a candidate.
 * @param text the body of a request: the SDK's JSON form of a candidate
 * @throw Problem 400
 */
void checkCandidate(const std::string& text);

/** The SDK's JSON form of an offer with this SDP. */
std::string offerFromSdp(const std::string& sdp);

/** The SDP in the SDK's JSON form of an answer; empty when there is none. */
std::string sdpOfAnswer(const std::string& answer);

}  // namespace zelrtc::camera

#endif
