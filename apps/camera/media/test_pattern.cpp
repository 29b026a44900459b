#include "media/test_pattern.h"

#include <array>

#include "media/segment_text.h"

namespace zelrtc::camera {

namespace {

constexpr std::array<Colour, 8> BARS = {
    {WHITE, {210, 16, 146}, {170, 166, 16}, {145, 54, 34}, {106, 202, 222}, {81, 90, 240}, {41, 240, 110}, BLACK}};
constexpr Colour GREY = {126, 128, 128};

constexpr size_t STRIP_PARTS = 12;
constexpr size_t STRIP_CELLS = 32;
constexpr uint32_t CROSSING_MS = 4000;

}  // namespace

TestPicture::TestPicture(size_t width, size_t height) : width_(width), height_(height) {
}

void TestPicture::draw(const Picture& picture, uint32_t captureMs, const std::string& clock) const {
    drawBars(picture);
    drawClock(picture, clock);
    drawBlock(picture, captureMs);
    drawStrip(picture, captureMs);
}

void TestPicture::drawBars(const Picture& picture) const {
    for (size_t i = 0; i < BARS.size(); ++i) {
        fill(picture, {i * width_ / BARS.size(), (i + 1) * width_ / BARS.size(), 0, height_}, BARS[i]);
    }
}

void TestPicture::drawClock(const Picture& picture, const std::string& clock) const {
    const size_t unit = height_ / 80;
    const size_t left = (width_ - clock.size() * SEGMENT_CELL_WIDTH * unit) / 2;
    drawSegmentText(picture, left, height_ / 8, unit, clock);
}

void TestPicture::drawBlock(const Picture& picture, uint32_t captureMs) const {
    const size_t side = height_ / 8 / 2 * 2;
    const size_t left = (width_ - side) * (captureMs % CROSSING_MS) / CROSSING_MS / 2 * 2;
    const size_t top = height_ / 2 / 2 * 2;
    fill(picture, {left, left + side, top, top + side}, GREY);
}

void TestPicture::drawStrip(const Picture& picture, uint32_t captureMs) const {
    const size_t top = (height_ - height_ / STRIP_PARTS) / 2 * 2;
    for (size_t cell = 0; cell < STRIP_CELLS; ++cell) {
        const bool one = (captureMs >> (STRIP_CELLS - 1 - cell) & 1U) != 0;
        fill(picture, {cell * width_ / STRIP_CELLS, (cell + 1) * width_ / STRIP_CELLS, top, height_},
             one ? WHITE : BLACK);
    }
}

}  // namespace zelrtc::camera
