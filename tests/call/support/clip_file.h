/** @file clip_file.h A short H.264 file for a camera that shows one. */
#ifndef TESTS_CALL_SUPPORT_CLIP_FILE_H
#define TESTS_CALL_SUPPORT_CLIP_FILE_H

#include <string>

namespace zelrtc::test {

/**
 * 240 pictures, 30 a second, in Annex B.
 * @param encoder settings of x264enc besides its latency and bit rate
 * @param caps    what the encoder is asked for
 * @throw std::runtime_error if it cannot be made
 */
void makeClip(const std::string& path, const std::string& encoder,
              const std::string& caps = "profile=constrained-baseline,stream-format=byte-stream");

}  // namespace zelrtc::test

#endif
