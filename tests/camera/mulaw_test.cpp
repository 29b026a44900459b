#include "media/mulaw.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace zelrtc::camera {
namespace {

TEST(MulawTest, KnownCodesHaveTheirKnownSamples) {
    EXPECT_EQ(mulawDecode(0xff), 0);
    EXPECT_EQ(mulawDecode(0x7f), 0);
    EXPECT_EQ(mulawDecode(0x80), 32124);
    EXPECT_EQ(mulawDecode(0x00), -32124);
    EXPECT_EQ(mulawDecode(0xef), 132);
}

TEST(MulawTest, EverySampleOfACodeIsCodedAsThatCode) {
    for (int code = 0; code < 256; ++code) {
        const auto byte = static_cast<uint8_t>(code);
        const uint8_t expected = byte == 0x7f ? 0xff : byte;  // there are two codes for zero
        EXPECT_EQ(mulawEncode(mulawDecode(byte)), expected) << "code " << code;
    }
}

TEST(MulawTest, TheErrorStaysBelowTheStepOfItsSegment) {
    for (int sample = -32768; sample < 32768; ++sample) {
        const int decoded = mulawDecode(mulawEncode(static_cast<int16_t>(sample)));
        EXPECT_LE(std::abs(decoded - sample), 4 + std::abs(sample) / 16) << "sample " << sample;
    }
}

}  // namespace
}  // namespace zelrtc::camera
