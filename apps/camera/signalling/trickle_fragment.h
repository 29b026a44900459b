/** @file trickle_fragment.h The body of a WHEP trickle request (application/trickle-ice-sdpfrag). */
#ifndef APPS_CAMERA_SIGNALLING_TRICKLE_FRAGMENT_H
#define APPS_CAMERA_SIGNALLING_TRICKLE_FRAGMENT_H

#include <string>
#include <vector>

namespace zelrtc::camera {

/** A candidate and the media section that it belongs to. */
struct TrickledCandidate {
    std::string line; /**< "candidate:..." */
    std::string mid;
    int mediaIndex;
};

/** The candidates of a fragment; lines of other kinds are left out. */
std::vector<TrickledCandidate> candidatesOfFragment(const std::string& fragment);

}  // namespace zelrtc::camera

#endif
