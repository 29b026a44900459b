/** @file segment_text.h Draws a clock's digits like a seven-segment display. */
#ifndef APPS_CAMERA_MEDIA_SEGMENT_TEXT_H
#define APPS_CAMERA_MEDIA_SEGMENT_TEXT_H

#include <string>

#include "media/drawing.h"

namespace zelrtc::camera {

/** In units; a segment is one unit thick. */
constexpr size_t kSegmentCellWidth = 6;
constexpr size_t kSegmentCellHeight = 9;

/**
 * Draws white on black, one cell of kSegmentCellWidth by kSegmentCellHeight units for each character.
 * @param text digits and colons; anything else is left blank
 */
void drawSegmentText(const Picture& picture, size_t left, size_t top, size_t unit, const std::string& text);

}  // namespace zelrtc::camera

#endif
