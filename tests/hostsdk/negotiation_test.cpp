#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "answering_side.h"
#include "text/offer.h"
#include "webrtcbin_viewer.h"

namespace zelrtc::test {

namespace {

std::string offerOf(const std::string& sections) {
    initKvsWebRtc();
    WebrtcbinViewer viewer(sections);
    return viewer.makeOffer();
}

int count(const std::string& text, const std::string& part) {
    int found = 0;
    for (size_t position = text.find(part); position != std::string::npos; position = text.find(part, position + 1)) {
        found++;
    }
    return found;
}

}  // namespace

TEST(Answer, sendsVideoAndSharesAudio) {
    AnsweringSide side;
    ASSERT_EQ(side.answer(offerOf("video audio")), STATUS_SUCCESS);
    const auto media = zelrtc::hostsdk::parseOffer(side.answerSdp());
    ASSERT_EQ(media.size(), 2U);
    EXPECT_EQ(media[0].kind, "video");
    EXPECT_EQ(media[0].direction, RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY);
    EXPECT_EQ(media[0].formats.at(0).payloadType, 96);
    EXPECT_EQ(zelrtc::hostsdk::profileLevelId(media[0].formats.at(0).parameters), "42e01f");
    EXPECT_EQ(media[1].kind, "audio");
    EXPECT_EQ(media[1].direction, RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV);
    EXPECT_NE(side.answerSdp().find(" msid:stream "), std::string::npos);
    EXPECT_EQ(side.answerSdp().find("FID 0"), std::string::npos);
}

TEST(Answer, followsTheOrderOfTheOffer) {
    AnsweringSide side;
    ASSERT_EQ(side.answer(offerOf("audio video")), STATUS_SUCCESS);
    const auto media = zelrtc::hostsdk::parseOffer(side.answerSdp());
    ASSERT_EQ(media.size(), 2U);
    EXPECT_EQ(media[0].kind, "audio");
    EXPECT_EQ(media[0].direction, RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV);
    EXPECT_EQ(media[1].kind, "video");
    EXPECT_EQ(media[1].direction, RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY);
}

TEST(Answer, leavesASectionWithoutACommonCodecInactive) {
    AnsweringSide side;
    ASSERT_EQ(side.answer(offerOf("vp8 audio")), STATUS_SUCCESS);
    const auto media = zelrtc::hostsdk::parseOffer(side.answerSdp());
    ASSERT_EQ(media.size(), 2U);
    EXPECT_EQ(media[0].direction, RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE);
    EXPECT_EQ(media[1].direction, RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV);
}

TEST(Answer, leavesASecondVideoSectionInactive) {
    AnsweringSide side;
    ASSERT_EQ(side.answer(offerOf("video video")), STATUS_SUCCESS);
    const auto media = zelrtc::hostsdk::parseOffer(side.answerSdp());
    ASSERT_EQ(media.size(), 2U);
    EXPECT_EQ(media[0].direction, RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY);
    EXPECT_EQ(media[1].direction, RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE);
}

TEST(Gathering, reportsEachCandidateOnceAndThenItsEnd) {
    AnsweringSide side;
    ASSERT_EQ(side.answer(offerOf("video audio")), STATUS_SUCCESS);
    ASSERT_TRUE(side.waitForGathering());
    const std::vector<std::string> candidates = side.candidates();
    ASSERT_FALSE(candidates.empty());
    for (const std::string& text : candidates) {
        const nlohmann::json json = nlohmann::json::parse(text);
        EXPECT_EQ(json["candidate"].get<std::string>().rfind("candidate:", 0), 0U) << text;
        EXPECT_EQ(json["sdpMid"], "video0");
        EXPECT_EQ(json["sdpMLineIndex"], 0);
        EXPECT_EQ(std::count(candidates.begin(), candidates.end(), text), 1) << text;
        EXPECT_EQ(text.find(" tcp "), std::string::npos) << text;
    }
    EXPECT_EQ(side.ends(), 1);
}

TEST(LocalDescription, holdsAllCandidatesWhenGatheringHasEnded) {
    AnsweringSide side;
    ASSERT_EQ(side.answer(offerOf("video audio")), STATUS_SUCCESS);
    EXPECT_EQ(count(side.answerSdp(), "a=candidate:"), 0);
    ASSERT_TRUE(side.waitForGathering());
    EXPECT_EQ(count(side.localSdp(), "a=candidate:"), static_cast<int>(side.candidates().size()));
}

TEST(Gathering, endsWithoutCandidatesWhenOnlyRelaysAreAllowedAndThereIsNone) {
    AnsweringSide side("", ICE_TRANSPORT_POLICY_RELAY);
    ASSERT_EQ(side.answer(offerOf("video audio")), STATUS_SUCCESS);
    ASSERT_TRUE(side.waitForGathering());
    EXPECT_TRUE(side.candidates().empty());
}

TEST(Statistics, ofAnIceServerThatWasAskedAreNotInvented) {
    AnsweringSide side("stun:127.0.0.1:1");
    ASSERT_EQ(side.answer(offerOf("video audio")), STATUS_SUCCESS);
    RtcStats stats{};
    stats.requestedTypeOfStats = RTC_STATS_TYPE_ICE_SERVER;
    EXPECT_EQ(rtcPeerConnectionGetMetrics(side.connection(), nullptr, &stats), STATUS_NOT_IMPLEMENTED);
}

}  // namespace zelrtc::test
