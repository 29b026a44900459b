// The delimiter that is left out of what is sent.
#include "engine/access_unit.h"

#include <gtest/gtest.h>

#include <vector>

namespace zelrtc::test {

namespace {

size_t delimiterOf(const std::vector<uint8_t>& unit) {
    return hostsdk::delimiterBytes(unit.data(), unit.size());
}

}  // namespace

TEST(DelimiterBytes, endWhereTheNextUnitBegins) {
    EXPECT_EQ(delimiterOf({0, 0, 0, 1, 0x09, 0xf0, 0, 0, 0, 1, 0x67}), 6U);
    EXPECT_EQ(delimiterOf({0, 0, 1, 0x09, 0x10, 0, 0, 1, 0x41}), 5U);
    EXPECT_EQ(delimiterOf({0, 0, 0, 0, 0, 1, 0x09, 0x10, 0, 0, 0, 0, 1, 0x41}), 8U);
}

TEST(DelimiterBytes, areNoneWhereAnotherUnitComesFirst) {
    EXPECT_EQ(delimiterOf({0, 0, 0, 1, 0x67, 0xf0, 0, 0, 0, 1, 0x09}), 0U);
    EXPECT_EQ(delimiterOf({0, 0, 0, 1, 0x41, 0x9a}), 0U);
}

TEST(DelimiterBytes, areNoneWhereNothingFollows) {
    EXPECT_EQ(delimiterOf({0, 0, 0, 1, 0x09, 0xf0}), 0U);
    EXPECT_EQ(delimiterOf({0, 0, 0, 1, 0x09, 0xf0, 0, 0}), 0U);
    EXPECT_EQ(delimiterOf({0, 0, 0, 1, 0x09}), 0U);
}

TEST(DelimiterBytes, areNoneInWhatIsNotAnAccessUnit) {
    EXPECT_EQ(delimiterOf({}), 0U);
    EXPECT_EQ(delimiterOf({0, 0, 0, 0}), 0U);
    EXPECT_EQ(delimiterOf({0, 1, 0x09, 0xf0, 0, 0, 1, 0x41}), 0U);
    EXPECT_EQ(delimiterOf({0x09, 0xf0, 0, 0, 1, 0x41}), 0U);
    EXPECT_EQ(delimiterOf({0, 0, 0, 1, 0x09, 0xf0, 0xff, 0, 0, 1, 0x41}), 0U);
}

}  // namespace zelrtc::test
