/** @file drawing.h Drawing rectangles into I420 pictures that belong to someone else. */
#ifndef APPS_CAMERA_MEDIA_DRAWING_H
#define APPS_CAMERA_MEDIA_DRAWING_H

#include <cstddef>
#include <cstdint>

namespace zelrtc::camera {

/** One plane of a picture. */
struct Plane {
    uint8_t* data;
    size_t stride; /**< bytes from one line to the next */
};

/** I420: luma, and two chroma planes of half the size. */
struct Picture {
    Plane y;
    Plane u;
    Plane v;
};

/** BT.601, limited range. */
struct Colour {
    uint8_t y;
    uint8_t u;
    uint8_t v;
};

constexpr Colour kWhite = {235, 128, 128};
constexpr Colour kBlack = {16, 128, 128};

/** In pixels; right and bottom are exclusive. Chroma has half the resolution, so odd edges shift by a pixel. */
struct Area {
    size_t left;
    size_t right;
    size_t top;
    size_t bottom;
};

/** The area must lie inside the picture. */
void fill(const Picture& picture, const Area& area, const Colour& colour);

}  // namespace zelrtc::camera

#endif
