/** @file key_frame_waits.h How long calls had nothing to show, by the camera's log. */
#ifndef TESTS_CALL_SUPPORT_KEY_FRAME_WAITS_H
#define TESTS_CALL_SUPPORT_KEY_FRAME_WAITS_H

#include <chrono>
#include <string>
#include <vector>

namespace zelrtc::test {

/**
 * From each connection to the first key frame written into the call; for calls that connect one after another. What a
 * busy machine adds later, until the viewer has the picture, is not in it.
 */
std::vector<std::chrono::milliseconds> keyFrameWaits(const std::string& log);

}  // namespace zelrtc::test

#endif
