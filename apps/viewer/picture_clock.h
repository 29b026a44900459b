/** @file picture_clock.h Reads the capture time that the camera's test picture carries. */
#ifndef APPS_VIEWER_PICTURE_CLOCK_H
#define APPS_VIEWER_PICTURE_CLOCK_H

#include <cstddef>
#include <cstdint>
#include <optional>

namespace zelrtc::viewer {

/** The luma plane of a decoded picture; the caller owns `data`. */
struct LumaPlane {
    const uint8_t* data;
    size_t stride;
    size_t width;
    size_t height;
};

/**
 * Reads the strip in the bottom twelfth: 32 cells, white 1, black 0, most significant first.
 * @return CLOCK_MONOTONIC at capture, in milliseconds modulo 2^32; nothing if a cell is neither black nor white
 */
std::optional<uint32_t> readPictureClock(const LumaPlane& picture);

}  // namespace zelrtc::viewer

#endif
