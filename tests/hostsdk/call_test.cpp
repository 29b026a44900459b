#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <thread>

#include "access_units.h"
#include "answering_side.h"
#include "statuses.h"
#include "waiting.h"
#include "webrtcbin_viewer.h"

namespace zelrtc::test {

namespace {

// Types of H.264 units.
constexpr int kTypeBits = 0x1f;
constexpr int kKeySlice = 5;
constexpr int kSequenceSet = 7;
constexpr int kPictureSet = 8;
constexpr int kDelimiter = 9;
constexpr size_t kStartCodeBytes = 4;

std::vector<uint8_t> fromKeySlice(const std::vector<uint8_t>& unit) {
    const std::vector<uint8_t> startCode = {0, 0, 1};
    auto at = unit.begin();
    do {
        at = std::search(at, unit.end(), startCode.begin(), startCode.end()) + 3;
    } while ((*at & kTypeBits) != kKeySlice);
    return {at - 3, unit.end()};
}

// A call with all candidates in the answer.
class Call : public testing::Test {
protected:
    void place(const std::string& sections) {
        viewer = std::make_unique<WebrtcbinViewer>(sections);
        ASSERT_EQ(side.answer(viewer->makeOffer()), STATUS_SUCCESS);
        ASSERT_TRUE(side.waitForGathering());
        viewer->setAnswer(side.localSdp());
        ASSERT_TRUE(side.waitForState(RTC_PEER_CONNECTION_STATE_CONNECTED));
    }

    RtcStats statistics(RTC_STATS_TYPE type) {
        RtcStats stats{};
        stats.requestedTypeOfStats = type;
        EXPECT_EQ(rtcPeerConnectionGetMetrics(side.connection(), nullptr, &stats), STATUS_SUCCESS);
        return stats;
    }

    const bool kStarted = initKvsWebRtc() == STATUS_SUCCESS;
    AnsweringSide side;
    std::unique_ptr<WebrtcbinViewer> viewer;
};

}  // namespace

TEST_F(Call, connectsAndCarriesVideoAndAudioToTheViewer) {
    place("video audio");
    EXPECT_EQ(side.states(), (std::vector<RTC_PEER_CONNECTION_STATE>{RTC_PEER_CONNECTION_STATE_CONNECTING,
                                                                     RTC_PEER_CONNECTION_STATE_CONNECTED}));
    EXPECT_TRUE(side.writeUntil([&] { return viewer->videoFrames() >= 30 && viewer->audioFrames() >= 20; }));
}

TEST_F(Call, carriesTheViewersAudioIn20MillisecondFrames) {
    place("video audio");
    ASSERT_TRUE(side.writeUntil([&] { return side.audioSizes().size() >= 25; }));
    for (const UINT32 size : side.audioSizes()) {
        EXPECT_EQ(size, 160U);
    }
    const std::vector<UINT64> times = side.audioTimes();
    EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
    EXPECT_LT(times.front(), times.back());
}

TEST_F(Call, keepsTheDifferencesOfPresentationTimes) {
    place("video");
    ASSERT_TRUE(side.writeUntil([&] { return viewer->videoFrames() >= 10; }));
    EXPECT_NEAR(viewer->lastVideoTimestampStep(), 3000, 1);
}

TEST_F(Call, sendsNoDelimiters) {
    ASSERT_EQ(accessUnits()[0].at(kStartCodeBytes) & kTypeBits, kDelimiter);
    place("video");
    ASSERT_TRUE(side.writeUntil([&] { return viewer->videoFrames() >= 20; }));
    EXPECT_EQ(viewer->videoUnits().count(kDelimiter), 0U);
}

// Late joiners need them, and so does a decoder that was reset.
TEST_F(Call, sendsTheParameterSetsBeforeEachKeyFrameThatLacksThem) {
    constexpr int kKeyFrames = 10;
    place("video");
    const std::vector<uint8_t>& complete = accessUnits()[0];
    const std::vector<uint8_t> bare = fromKeySlice(complete);
    for (int i = 0; i < kKeyFrames; i++) {
        ASSERT_EQ(side.writeUnit(i == 0 ? complete : bare, static_cast<size_t>(i)), STATUS_SUCCESS);
    }
    ASSERT_TRUE(eventually([&] { return viewer->videoFrames() == kKeyFrames; }, AnsweringSide::kDeadline));
    const auto units = viewer->videoUnits();
    EXPECT_GE(units.at(kKeySlice), kKeyFrames);
    EXPECT_GE(units.at(kSequenceSet), kKeyFrames);
    EXPECT_GE(units.at(kPictureSet), kKeyFrames);
}

TEST_F(Call, sharesVideoWithAViewerThatPutsAudioFirst) {
    place("audio video");
    EXPECT_TRUE(side.writeUntil([&] { return viewer->videoFrames() >= 10 && !side.audioSizes().empty(); }));
}

TEST_F(Call, refusesFramesForWhatTheViewerDidNotAskFor) {
    place("video");
    EXPECT_EQ(side.writeAudio(0), kTransportNotReady);
    EXPECT_EQ(side.writeVideo(0), STATUS_SUCCESS);
}

// The refused section is not the first: as the far end, webrtcbin does not move its transport to another section.
TEST_F(Call, goesOnWithoutTheSectionThatHasNoCommonCodec) {
    place("audio vp8");
    EXPECT_EQ(side.writeVideo(0), kTransportNotReady);
    EXPECT_TRUE(side.writeUntil([&] { return viewer->audioFrames() >= 10 && side.audioSizes().size() >= 10; }));
}

TEST_F(Call, takesFramesFromInsideTheConnectedHandler) {
    STATUS written = kTransportNotReady;
    side.duringState = [&](RTC_PEER_CONNECTION_STATE state) {
        if (state == RTC_PEER_CONNECTION_STATE_CONNECTED) {
            written = side.writeVideo(0);
        }
    };
    place("video");
    side.close();
    EXPECT_EQ(written, STATUS_SUCCESS);
}

TEST_F(Call, runsItsHandlersOnTwoThreadsOfItsOwn) {
    place("video audio");
    ASSERT_TRUE(side.writeUntil([&] { return !side.audioSizes().empty(); }));
    const std::set<std::thread::id> timer = side.timerThreads();
    const std::set<std::thread::id> listener = side.listenerThreads();
    ASSERT_EQ(timer.size(), 1U);
    ASSERT_EQ(listener.size(), 1U);
    EXPECT_NE(*timer.begin(), *listener.begin());
    EXPECT_EQ(timer.count(std::this_thread::get_id()) + listener.count(std::this_thread::get_id()), 0U);
}

TEST_F(Call, dropsTheAudioOfASourceThatTheOfferDoesNotName) {
    viewer = std::make_unique<WebrtcbinViewer>("video audio");
    std::string offer = viewer->makeOffer();
    for (size_t line = offer.find("a=ssrc:"); line != std::string::npos; line = offer.find("a=ssrc:")) {
        offer.erase(line, offer.find('\n', line) + 1 - line);
    }
    ASSERT_EQ(side.answer(offer), STATUS_SUCCESS);
    ASSERT_TRUE(side.waitForGathering());
    viewer->setAnswer(side.localSdp());
    ASSERT_TRUE(side.waitForState(RTC_PEER_CONNECTION_STATE_CONNECTED));
    const int talked = viewer->talkPackets();
    EXPECT_TRUE(side.writeUntil([&] { return viewer->audioFrames() >= 20 && viewer->talkPackets() >= talked + 50; }));
    EXPECT_TRUE(side.audioSizes().empty());
}

TEST_F(Call, tellsTheSelectedCandidates) {
    place("video audio");
    const RtcIceCandidateStats local = statistics(RTC_STATS_TYPE_LOCAL_CANDIDATE).rtcStatsObject.localIceCandidateStats;
    EXPECT_STREQ(local.candidateType, "host");
    EXPECT_STREQ(local.protocol, "udp");
    EXPECT_STREQ(local.relayProtocol, "N/A");
    EXPECT_STREQ(local.url, "N/A");
    EXPECT_GT(local.port, 0);
    EXPECT_GT(local.priority, 0);
    // The candidate must be one that this side announced.
    const std::string announced = std::string(" ") + local.address + " " + std::to_string(local.port) + " typ host";
    EXPECT_NE(side.localSdp().find(announced), std::string::npos) << announced;

    const RtcIceCandidateStats remote =
        statistics(RTC_STATS_TYPE_REMOTE_CANDIDATE).rtcStatsObject.remoteIceCandidateStats;
    EXPECT_STRNE(remote.address, "");
    EXPECT_GT(remote.port, 0);
    EXPECT_NE(remote.port, local.port);
    EXPECT_STREQ(remote.relayProtocol, "");
    EXPECT_STREQ(remote.url, "");
}

TEST(TrickledCall, connectsWithCandidatesThatComeOneByOne) {
    ASSERT_EQ(initKvsWebRtc(), STATUS_SUCCESS);
    AnsweringSide side;
    WebrtcbinViewer viewer("video audio");
    const std::string offer = viewer.makeOffer();
    std::vector<std::string> lines;
    std::string bareOffer;
    for (size_t start = 0; start < offer.size();) {
        const size_t end = offer.find('\n', start) + 1;
        const std::string line = offer.substr(start, end - start);
        if (line.rfind("a=candidate:", 0) == 0) {
            lines.push_back(line.substr(2, line.size() - 4));
        } else {
            bareOffer += line;
        }
        start = end;
    }
    ASSERT_FALSE(lines.empty());

    ASSERT_EQ(side.answer(bareOffer), STATUS_SUCCESS);
    viewer.setAnswer(side.answerSdp());
    for (const std::string& line : lines) {
        EXPECT_EQ(side.addCandidate(line), STATUS_SUCCESS);
    }
    EXPECT_TRUE(side.waitForState(RTC_PEER_CONNECTION_STATE_CONNECTED));
}

}  // namespace zelrtc::test
