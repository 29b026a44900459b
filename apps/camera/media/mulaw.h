/** @file mulaw.h G.711 mu-law, the audio format of the calls: 8000 samples a second, one byte each. */
#ifndef APPS_CAMERA_MEDIA_MULAW_H
#define APPS_CAMERA_MEDIA_MULAW_H

#include <cstddef>
#include <cstdint>

namespace zelrtc::camera {

constexpr int kMulawRate = 8000;
constexpr int kMulawFrameMs = 20;
constexpr size_t kMulawFrameBytes = static_cast<size_t>(kMulawRate) * kMulawFrameMs / 1000;

/** Encodes a 16-bit sample as the nearest mu-law byte. */
uint8_t mulawEncode(int16_t sample);

/** Decodes a mu-law byte. */
int16_t mulawDecode(uint8_t code);

}  // namespace zelrtc::camera

#endif
