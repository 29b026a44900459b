#include "media/mulaw.h"

#include <algorithm>

namespace zelrtc::camera {

namespace {

// G.711 codes a magnitude as segment and step on a logarithmic scale; the bias makes each segment a power of two.
constexpr int kBias = 0x84;
constexpr int kLargest = 32635;

int segmentOf(int magnitude) {
    int segment = 7;
    for (int bit = 0x4000; segment > 0 && (magnitude & bit) == 0; bit >>= 1) {
        --segment;
    }
    return segment;
}

}  // namespace

uint8_t mulawEncode(int16_t sample) {
    const int sign = sample < 0 ? 0x80 : 0;
    const int magnitude = std::min(sample < 0 ? -int{sample} : int{sample}, kLargest) + kBias;
    const int segment = segmentOf(magnitude);
    const int step = (magnitude >> (segment + 3)) & 0x0f;
    return static_cast<uint8_t>(~(sign | (segment << 4) | step));
}

int16_t mulawDecode(uint8_t code) {
    const int bits = ~code & 0xff;
    const int segment = (bits >> 4) & 0x07;
    const int step = bits & 0x0f;
    const int magnitude = (((step << 3) + kBias) << segment) - kBias;
    return static_cast<int16_t>((bits & 0x80) != 0 ? -magnitude : magnitude);
}

}  // namespace zelrtc::camera
