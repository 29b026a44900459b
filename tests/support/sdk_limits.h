/** @file sdk_limits.h How long tests wait for a camera, which differs by the SDK that it stands on. */
#ifndef TESTS_SUPPORT_SDK_LIMITS_H
#define TESTS_SUPPORT_SDK_LIMITS_H

#include <chrono>
#include <string>

namespace zelrtc::test {

/**
 * The limit of this name in sdk_limits.json, for the SDK that the variable ZELRTC_SDK_UNDER_TEST names; without it, for
 * the stand-in, or for the slowest when ZELRTC_CAMERA_UNDER_TEST names a camera of its own.
 */
std::chrono::milliseconds sdkLimit(const std::string& name);

}  // namespace zelrtc::test

#endif
