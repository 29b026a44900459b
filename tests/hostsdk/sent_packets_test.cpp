// What is sent again when a far end asks for it.
#include "engine/sent_packets.h"

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

#include "answering_side.h"
#include "engine/resend_limit.h"
#include "packets.h"
#include "webrtcbin_viewer.h"

namespace zelrtc::test {

namespace {

using hostsdk::requestedNumbers;
using hostsdk::ResendLimit;
using Numbers = std::vector<uint16_t>;
using namespace std::chrono_literals;

const ResendLimit::Clock::time_point kStart{1h};

}  // namespace

TEST(RequestedNumbers, areTheFirstAndThoseOfTheMask) {
    const Bytes list = {0x01, 0x02, 0x80, 0x01};
    EXPECT_EQ(requestedNumbers(list.data(), list.size()), (Numbers{0x0102, 0x0103, 0x0112}));
}

TEST(RequestedNumbers, wrapAround) {
    const Bytes list = {0xff, 0xff, 0x00, 0x01};
    EXPECT_EQ(requestedNumbers(list.data(), list.size()), (Numbers{0xffff, 0}));
}

TEST(RequestedNumbers, areReadFromWholeEntries) {
    const Bytes list = {0, 1, 0, 0, 0, 9, 0, 0, 0xff};
    EXPECT_EQ(requestedNumbers(list.data(), list.size()), (Numbers{1, 9}));
    EXPECT_EQ(requestedNumbers(list.data(), 3), Numbers());
}

TEST(ResendLimit, isHalfOfWhatWasSent) {
    ResendLimit limit;
    limit.onSent(1000, kStart);
    EXPECT_TRUE(limit.takes(300, kStart + 100ms));
    EXPECT_FALSE(limit.takes(201, kStart + 200ms));
    EXPECT_TRUE(limit.takes(200, kStart + 300ms));
    EXPECT_FALSE(limit.takes(1, kStart + 400ms));
}

TEST(ResendLimit, remembersWhatWasSentJustBefore) {
    ResendLimit limit;
    limit.onSent(1000, kStart);
    EXPECT_TRUE(limit.takes(400, kStart + 100ms));
    limit.onSent(200, kStart + 600ms);
    EXPECT_FALSE(limit.takes(201, kStart + 700ms));
    EXPECT_TRUE(limit.takes(200, kStart + 800ms));
}

TEST(ResendLimit, forgetsWhatWasSentBeforeThat) {
    ResendLimit limit;
    limit.onSent(1000, kStart);
    limit.onSent(10, kStart + 5s);
    EXPECT_FALSE(limit.takes(6, kStart + 5s));
    EXPECT_TRUE(limit.takes(5, kStart + 5s));
}

// Without a format of its own for what is sent again: "nack" alone is what every far end knows.
TEST(SentPackets, comeAgainToAViewerThatMissesThem) {
    AnsweringSide side;
    WebrtcbinViewer viewer("video audio");
    ASSERT_EQ(initKvsWebRtc(), STATUS_SUCCESS);
    ASSERT_EQ(side.answer(viewer.makeOffer()), STATUS_SUCCESS);
    ASSERT_TRUE(side.waitForGathering());
    viewer.setAnswer(side.localSdp());
    ASSERT_TRUE(side.waitForState(RTC_PEER_CONNECTION_STATE_CONNECTED));
    ASSERT_TRUE(side.writeUntil([&] { return viewer.videoFrames() >= 5; }));

    viewer.losePackets(20);
    EXPECT_TRUE(side.writeUntil([&] {
        for (const uint16_t number : viewer.missingPackets()) {
            viewer.sendPacket(retransmissionRequest(1, viewer.largestSource(), number));
        }
        return viewer.hasLostAll() && viewer.missingPackets().empty();
    })) << viewer.missingPackets().size()
        << " packets have not come again";
}

}  // namespace zelrtc::test
