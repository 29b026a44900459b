#include "media/segment_text.h"

#include <array>

namespace zelrtc::camera {

namespace {

// In units from a cell's corner: top, upper and lower right, bottom, lower and upper left, middle.
constexpr std::array<Area, 7> kSegments = {
    {{2, 4, 1, 2}, {4, 5, 2, 4}, {4, 5, 5, 7}, {2, 4, 7, 8}, {1, 2, 5, 7}, {1, 2, 2, 4}, {2, 4, 4, 5}}};
constexpr std::array<Area, 2> kColon = {{{2, 4, 2, 4}, {2, 4, 5, 7}}};
// The segments lit for 0 to 9; the first is the lowest bit.
constexpr std::array<unsigned, 10> kLit = {0x3f, 0x06, 0x5b, 0x4f, 0x66, 0x6d, 0x7d, 0x07, 0x7f, 0x6f};

void fillUnits(const Picture& picture, size_t left, size_t top, size_t unit, const Area& units, const Colour& colour) {
    fill(picture,
         {left + units.left * unit, left + units.right * unit, top + units.top * unit, top + units.bottom * unit},
         colour);
}

void drawDigit(const Picture& picture, size_t left, size_t top, size_t unit, unsigned lit) {
    for (size_t i = 0; i < kSegments.size(); ++i) {
        if ((lit >> i & 1U) != 0) {
            fillUnits(picture, left, top, unit, kSegments[i], kWhite);
        }
    }
}

}  // namespace

void drawSegmentText(const Picture& picture, size_t left, size_t top, size_t unit, const std::string& text) {
    for (const char character : text) {
        fillUnits(picture, left, top, unit, {0, kSegmentCellWidth, 0, kSegmentCellHeight}, kBlack);
        if (character >= '0' && character <= '9') {
            drawDigit(picture, left, top, unit, kLit.at(static_cast<size_t>(character - '0')));
        } else if (character == ':') {
            for (const Area& dot : kColon) {
                fillUnits(picture, left, top, unit, dot, kWhite);
            }
        }
        left += kSegmentCellWidth * unit;
    }
}

}  // namespace zelrtc::camera
