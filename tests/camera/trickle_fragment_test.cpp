#include "signalling/trickle_fragment.h"

#include <gmock/gmock.h>

namespace zelrtc::camera {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(TrickleFragmentTest, EachCandidateBelongsToTheSectionAboveIt) {
    const auto candidates = candidatesOfFragment(
        "a=ice-ufrag:abcd\r\na=ice-pwd:efgh\r\n"
        "m=audio 9 UDP/TLS/RTP/SAVPF 0\r\na=mid:a1\r\na=candidate:1 1 udp 5 192.0.2.1 9 typ host\r\n"
        "m=video 9 UDP/TLS/RTP/SAVPF 96\r\na=mid:v1\r\na=candidate:2 1 udp 5 192.0.2.1 10 typ host\r\n"
        "a=end-of-candidates\r\n");
    ASSERT_THAT(candidates, SizeIs(2));
    EXPECT_EQ(candidates[0].line, "candidate:1 1 udp 5 192.0.2.1 9 typ host");
    EXPECT_EQ(candidates[0].mid, "a1");
    EXPECT_EQ(candidates[0].mediaIndex, 0);
    EXPECT_EQ(candidates[1].line, "candidate:2 1 udp 5 192.0.2.1 10 typ host");
    EXPECT_EQ(candidates[1].mid, "v1");
    EXPECT_EQ(candidates[1].mediaIndex, 1);
}

TEST(TrickleFragmentTest, LineEndsMayBeBare) {
    EXPECT_THAT(candidatesOfFragment("a=mid:0\na=candidate:1 1 udp 5 192.0.2.1 9 typ host\n"), SizeIs(1));
}

TEST(TrickleFragmentTest, WhatHoldsNoCandidateYieldsNone) {
    EXPECT_THAT(candidatesOfFragment(""), IsEmpty());
    EXPECT_THAT(candidatesOfFragment("hello\r\n\r\n"), IsEmpty());
}

}  // namespace
}  // namespace zelrtc::camera
