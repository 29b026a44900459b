#include "engine/track_limits.h"

#include <gtest/gtest.h>

#include "packets.h"

namespace zelrtc::test {

using namespace std::chrono_literals;
using zelrtc::hostsdk::FragmentLimit;
using zelrtc::hostsdk::TalkLimit;

namespace {

constexpr size_t kPayload = 1000;
constexpr uint8_t kFirst = 0x80;
constexpr uint8_t kLast = 0x40;

Bytes fragment(uint32_t timestamp, uint8_t edge) {
    Bytes payload(kPayload);
    payload[0] = 28;
    payload[1] = static_cast<uint8_t>(5U | edge);
    return rtpPacket(1, timestamp, payload);
}

template <typename Limit>
bool takes(Limit* limit, const Bytes& packet) {
    return limit->takes(packet.data(), packet.size());
}

}  // namespace

TEST(FragmentLimit, takesPicturesThatEnd) {
    FragmentLimit limit;
    for (uint32_t picture = 0; picture < 100; picture++) {
        EXPECT_TRUE(takes(&limit, fragment(picture, kFirst)));
        for (size_t i = 0; i < 200; i++) {
            EXPECT_TRUE(takes(&limit, fragment(picture, 0)));
        }
        EXPECT_TRUE(takes(&limit, fragment(picture, kLast)));
    }
}

TEST(FragmentLimit, takesNoMoreOfAUnitThatNeverEnds) {
    FragmentLimit limit;
    size_t taken = 0;
    for (uint32_t i = 0; i < 2000; i++) {
        taken += takes(&limit, fragment(i, 0)) ? kPayload : 0;
    }
    EXPECT_LE(taken, FragmentLimit::kMostBytes);
    EXPECT_GE(taken, FragmentLimit::kMostBytes * 3 / 4);
    takes(&limit, fragment(2000, kLast));
    EXPECT_TRUE(takes(&limit, fragment(2001, kFirst)));
}

TEST(FragmentLimit, takesNoMoreOfAPictureThatNeverEnds) {
    FragmentLimit limit;
    size_t taken = 0;
    for (uint32_t i = 0; i < 2000; i++) {
        taken += takes(&limit, fragment(7, kFirst | kLast)) ? kPayload : 0;
    }
    EXPECT_LE(taken, FragmentLimit::kMostBytes);
    EXPECT_GE(taken, FragmentLimit::kMostBytes * 3 / 4);
    EXPECT_TRUE(takes(&limit, fragment(8, kFirst | kLast)));
}

TEST(TalkLimit, takesAVoiceInRealTime) {
    TalkLimit limit;
    const Bytes packet = rtpPacket(1, 0, Bytes(160));
    auto now = TalkLimit::Clock::time_point(1h);
    for (int i = 0; i < 3000; i++, now += 20ms) {
        EXPECT_TRUE(limit.takes(packet.data(), packet.size(), now));
    }
}

TEST(TalkLimit, takesNoMoreThanTwoSecondsAtOnce) {
    TalkLimit limit;
    const Bytes packet = rtpPacket(1, 0, Bytes(160));
    int taken = 0;
    for (auto now = TalkLimit::Clock::time_point(1h); now < TalkLimit::Clock::time_point(1h + 4s); now += 1ms) {
        taken += limit.takes(packet.data(), packet.size(), now) ? 1 : 0;
    }
    EXPECT_GE(taken, 4 * 50);
    EXPECT_LE(taken, 6 * 50);
}

}  // namespace zelrtc::test
