/** @file sdk_limits.h How long tests wait for a camera, which depends on the SDK under it. */
#ifndef TESTS_SUPPORT_SDK_LIMITS_H
#define TESTS_SUPPORT_SDK_LIMITS_H

#include <chrono>
#include <string>

namespace zelrtc::test {

/**
 * The limit of this name in sdk_limits.json, for the SDK that the variable ZELRTC_SDK_UNDER_TEST names; without it, for
 * the stand-in, or for the slowest SDK if ZELRTC_CAMERA_UNDER_TEST names another camera.
 */
std::chrono::milliseconds sdkLimit(const std::string& name);

}  // namespace zelrtc::test

#endif
