#include "picture_clock.h"

namespace zelrtc::viewer {
namespace {

constexpr size_t kCells = 32;
constexpr size_t kStripsPerPicture = 12;
constexpr unsigned kDarkest = 80;  // limited-range black is 16, white 235; coding blurs both
constexpr unsigned kBrightest = 170;

// The mean of the nine pixels around a point keeps coding noise out.
unsigned brightnessAround(const LumaPlane& picture, size_t x, size_t y) {
    unsigned sum = 0;
    for (size_t row = y - 1; row <= y + 1; ++row) {
        for (size_t column = x - 1; column <= x + 1; ++column) {
            sum += picture.data[row * picture.stride + column];
        }
    }
    return sum / 9;
}

}  // namespace

std::optional<uint32_t> readPictureClock(const LumaPlane& picture) {
    const size_t stripHeight = picture.height / kStripsPerPicture;
    if (stripHeight < 4 || picture.width < kCells * 4) {
        return std::nullopt;
    }
    const size_t y = picture.height - stripHeight / 2 - 1;
    uint32_t value = 0;
    for (size_t cell = 0; cell < kCells; ++cell) {
        const size_t x = (2 * cell + 1) * picture.width / (2 * kCells);
        const unsigned brightness = brightnessAround(picture, x, y);
        if (brightness > kDarkest && brightness < kBrightest) {
            return std::nullopt;
        }
        value = value << 1U | (brightness >= kBrightest ? 1U : 0U);
    }
    return value;
}

}  // namespace zelrtc::viewer
