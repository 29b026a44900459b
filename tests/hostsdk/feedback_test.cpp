#include <gtest/gtest.h>

#include <vector>

#include "text/remb.h"

namespace zelrtc::test {

TEST(BitrateLimit, isMantissaTimesPowerOfTwo) {
    // One source; exponent 3, mantissa 0x20000 + 5.
    const std::vector<uint8_t> packet = {'R', 'E', 'M', 'B', 1, (3 << 2) | 2, 0, 5, 0, 0, 0, 1};
    EXPECT_EQ(zelrtc::hostsdk::readRemb(packet.data(), packet.size()), (0x20000 + 5) * 8.0);
}

TEST(BitrateLimit, canBeLargerThanAnInteger) {
    const std::vector<uint8_t> packet = {'R', 'E', 'M', 'B', 0, 0xff, 0xff, 0xff};
    EXPECT_EQ(zelrtc::hostsdk::readRemb(packet.data(), packet.size()), 0x3ffff * 9223372036854775808.0);
}

TEST(BitrateLimit, isNotReadFromOtherFeedback) {
    const std::vector<uint8_t> other = {'X', 'E', 'M', 'B', 1, 0, 0, 5};
    EXPECT_EQ(zelrtc::hostsdk::readRemb(other.data(), other.size()), std::nullopt);
    const std::vector<uint8_t> shortened = {'R', 'E', 'M', 'B', 1, 0, 0};
    EXPECT_EQ(zelrtc::hostsdk::readRemb(shortened.data(), shortened.size()), std::nullopt);
    EXPECT_EQ(zelrtc::hostsdk::readRemb(nullptr, 0), std::nullopt);
}

}  // namespace zelrtc::test
