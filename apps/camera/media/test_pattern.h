/** @file test_pattern.h The built-in picture: colour bars, a moving block and the time of capture for machines. */
#ifndef APPS_CAMERA_MEDIA_TEST_PATTERN_H
#define APPS_CAMERA_MEDIA_TEST_PATTERN_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "media/drawing.h"

namespace zelrtc::camera {

/**
 * Draws the frames of one stream. Eight bars over the full height, a grey block that crosses the picture once in four
 * seconds, a clock, and in the bottom twelfth 32 equal cells, white for 1 and black for 0, most significant first, that
 * hold the time of capture in milliseconds, so that whoever films or decodes the screen can tell the picture's age.
 * One thread at a time.
 */
class TestPattern {
public:
    /** Both sizes even, at least 160 by 90. */
    TestPattern(size_t width, size_t height);

    /** Draws the whole picture. @param clock time of day as HH:MM:SS */
    void draw(const Picture& picture, uint32_t captureMs, const std::string& clock) const;

private:
    void drawBars(const Picture& picture) const;
    void drawClock(const Picture& picture, const std::string& clock) const;
    void drawBlock(const Picture& picture, uint32_t captureMs) const;
    void drawStrip(const Picture& picture, uint32_t captureMs) const;

    size_t width_;
    size_t height_;
};

}  // namespace zelrtc::camera

#endif
