/** @file trickle_fragment.h The body of a WHEP trickle request (application/trickle-ice-sdpfrag). */
#ifndef APPS_CAMERA_SIGNALLING_TRICKLE_FRAGMENT_H
#define APPS_CAMERA_SIGNALLING_TRICKLE_FRAGMENT_H

#include <string>
#include <vector>

namespace zelrtc::camera {

/** The candidates of a fragment, each in the SDK's JSON form; other lines are skipped. */
std::vector<std::string> candidatesOfFragment(const std::string& fragment);

}  // namespace zelrtc::camera

#endif
