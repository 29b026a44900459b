#include "media/test_pattern.h"

#include <array>

#include "media/segment_text.h"

namespace zelrtc::camera {

namespace {

constexpr std::array<Colour, 8> kBars = {
    {kWhite, {210, 16, 146}, {170, 166, 16}, {145, 54, 34}, {106, 202, 222}, {81, 90, 240}, {41, 240, 110}, kBlack}};
constexpr Colour kGrey = {126, 128, 128};

constexpr size_t kStripParts = 12;
constexpr size_t kStripCells = 32;
constexpr uint32_t kCrossingMs = 4000;

}  // namespace

TestPattern::TestPattern(size_t width, size_t height) : width_(width), height_(height) {
}

void TestPattern::draw(const Picture& picture, uint32_t captureMs, const std::string& clock) const {
    drawBars(picture);
    drawClock(picture, clock);
    drawBlock(picture, captureMs);
    drawStrip(picture, captureMs);
}

void TestPattern::drawBars(const Picture& picture) const {
    for (size_t i = 0; i < kBars.size(); ++i) {
        fill(picture, {i * width_ / kBars.size(), (i + 1) * width_ / kBars.size(), 0, height_}, kBars[i]);
    }
}

void TestPattern::drawClock(const Picture& picture, const std::string& clock) const {
    const size_t unit = height_ / 80;
    const size_t left = (width_ - clock.size() * kSegmentCellWidth * unit) / 2;
    drawSegmentText(picture, left, height_ / 8, unit, clock);
}

void TestPattern::drawBlock(const Picture& picture, uint32_t captureMs) const {
    const size_t side = height_ / 8 / 2 * 2;
    const size_t left = (width_ - side) * (captureMs % kCrossingMs) / kCrossingMs / 2 * 2;
    const size_t top = height_ / 2 / 2 * 2;
    fill(picture, {left, left + side, top, top + side}, kGrey);
}

void TestPattern::drawStrip(const Picture& picture, uint32_t captureMs) const {
    const size_t top = (height_ - height_ / kStripParts) / 2 * 2;
    for (size_t cell = 0; cell < kStripCells; ++cell) {
        const bool one = (captureMs >> (kStripCells - 1 - cell) & 1U) != 0;
        fill(picture, {cell * width_ / kStripCells, (cell + 1) * width_ / kStripCells, top, height_},
             one ? kWhite : kBlack);
    }
}

}  // namespace zelrtc::camera
