// What a viewer who was let in can send, and what it costs.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <string>

#include "answering_side.h"
#include "engine/viewer_sources.h"
#include "packets.h"
#include "webrtcbin_viewer.h"

namespace zelrtc::test {

namespace {

int runningThreads() {
    const std::filesystem::directory_iterator threads("/proc/self/task");
    return static_cast<int>(std::distance(begin(threads), end(threads)));
}

size_t timesIn(const std::string& text, const std::string& words) {
    size_t times = 0;
    for (size_t at = text.find(words); at != std::string::npos; at = text.find(words, at + 1)) {
        times++;
    }
    return times;
}

class HostileViewer : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(initKvsWebRtc(), STATUS_SUCCESS);
        ASSERT_EQ(side.answer(viewer.makeOffer()), STATUS_SUCCESS);
        ASSERT_TRUE(side.waitForGathering());
        viewer.setAnswer(side.localSdp());
        ASSERT_TRUE(side.waitForState(RTC_PEER_CONNECTION_STATE_CONNECTED));
        ASSERT_TRUE(side.writeUntil([&] { return viewer.videoFrames() >= 5 && side.audioSizes().size() >= 5; }));
    }

    // The viewer still sees, and is still heard.
    void expectThatTheCallGoesOn() {
        const int seen = viewer.videoFrames();
        const size_t heard = side.audioSizes().size();
        EXPECT_TRUE(side.writeUntil(
            [&] { return viewer.videoFrames() >= seen + 10 && side.audioSizes().size() >= heard + 10; }));
    }

    void expectAQuickEnd() {
        const auto start = std::chrono::steady_clock::now();
        side.close();
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    }

    AnsweringSide side;
    WebrtcbinViewer viewer{"video audio"};
};

}  // namespace

TEST_F(HostileViewer, ofManySourcesCostsNobodyAnything) {
    const int threads = runningThreads();
    for (uint32_t source = 1; source <= 2000; source++) {
        viewer.sendPacket(rtpPacket(source, 0, Bytes(160)));
        viewer.sendPacket(rtpPacket(source, 160, Bytes(160), {}, 1));
    }
    expectThatTheCallGoesOn();
    EXPECT_LE(runningThreads(), threads + 4 * static_cast<int>(zelrtc::hostsdk::ViewerSources::kMostSources));
    expectAQuickEnd();
}

TEST_F(HostileViewer, withManyContributorsLosesThosePacketsAndTheLogSaysSoOnce) {
    testing::internal::CaptureStdout();
    for (uint16_t number = 0; number < 500; number++) {
        viewer.sendPacket(rtpPacket(1, 160U * number, Bytes(160), {number, number + 1000U}, number));
    }
    expectThatTheCallGoesOn();
    EXPECT_EQ(timesIn(testing::internal::GetCapturedStdout(), "too many contributing sources"), 1U);
    expectAQuickEnd();
}

TEST_F(HostileViewer, thatReportsForManyLosesThosePacketsAndTheLogSaysSoOnce) {
    testing::internal::CaptureStdout();
    for (uint32_t number = 0; number < 500; number++) {
        Bytes packet = receiverReport(1);
        const Bytes others = descriptions({number + 2, number + 1000});
        packet.insert(packet.end(), others.begin(), others.end());
        viewer.sendPacket(packet);
    }
    expectThatTheCallGoesOn();
    EXPECT_EQ(timesIn(testing::internal::GetCapturedStdout(), "report on too many sources"), 1U);
    expectAQuickEnd();
}

TEST_F(HostileViewer, withManyCandidatesEndsQuicklyToo) {
    for (int number = 1; number <= 2000; number++) {
        side.addCandidate("candidate:" + std::to_string(number) + " 1 udp 1 192.0.2." + std::to_string(number % 256) +
                          " " + std::to_string(number + 1000) + " typ host");
    }
    expectThatTheCallGoesOn();
    expectAQuickEnd();
}

TEST_F(HostileViewer, thatSendsDataIsNotHeard) {
    for (int i = 0; i < 100; i++) {
        viewer.sendData(Bytes(32, 0x13));
    }
    expectThatTheCallGoesOn();
}

TEST_F(HostileViewer, thatAsksForEverythingAgainGetsLittle) {
    const auto sent = [this] {
        uint64_t sum = 0;
        for (const auto& source : viewer.receivedBytes()) {
            sum += source.second;
        }
        return sum;
    };
    const int frames = viewer.videoFrames();
    const uint64_t before = sent();
    ASSERT_TRUE(side.writeUntil([&] { return viewer.videoFrames() >= frames + 60; }));
    const uint64_t usual = sent() - before;
    const uint32_t video = viewer.largestSource();
    ASSERT_TRUE(side.writeUntil([&] {
        const auto first = static_cast<uint16_t>(viewer.newestPacket() - 16);
        viewer.sendPacket(retransmissionRequest(1, video, first, 0xffff));
        return viewer.videoFrames() >= frames + 120;
    }));
    const uint64_t flooded = sent() - before - usual;
    EXPECT_GT(flooded, usual * 5 / 4) << "nothing was sent again";
    // Half as much again, and half of what had been sent just before.
    EXPECT_LE(flooded, usual * 2);
}

}  // namespace zelrtc::test
