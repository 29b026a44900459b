#include "media/drawing.h"

#include <algorithm>

namespace zelrtc::camera {

namespace {

void fillPlane(const Plane& plane, const Area& area, uint8_t value) {
    for (size_t line = area.top; line < area.bottom; ++line) {
        std::fill(plane.data + line * plane.stride + area.left, plane.data + line * plane.stride + area.right, value);
    }
}

}  // namespace

void fill(const Picture& picture, const Area& area, const Colour& colour) {
    const Area chroma = {area.left / 2, area.right / 2, area.top / 2, area.bottom / 2};
    fillPlane(picture.y, area, colour.y);
    fillPlane(picture.u, chroma, colour.u);
    fillPlane(picture.v, chroma, colour.v);
}

}  // namespace zelrtc::camera
