/** @file segment_text.h A clock's digits, drawn like those of a seven-segment display. */
#ifndef CAMERA_SEGMENT_TEXT_H
#define CAMERA_SEGMENT_TEXT_H

#include <string>

#include "media/drawing.h"

namespace zelrtc::camera {

/** Thickness of a segment is one unit; all sizes are multiples of it. */
constexpr size_t SEGMENT_CELL_WIDTH = 6;
constexpr size_t SEGMENT_CELL_HEIGHT = 9;

/**
 * Draws white on black, one cell of SEGMENT_CELL_WIDTH by SEGMENT_CELL_HEIGHT units for each character.
 * @param text digits and colons; anything else is a blank
 */
void drawSegmentText(const Picture& picture, size_t left, size_t top, size_t unit, const std::string& text);

}  // namespace zelrtc::camera

#endif
