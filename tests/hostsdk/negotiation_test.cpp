#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "answering_side.h"
#include "text/session_description.h"
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

std::vector<hostsdk::Section> sectionsOf(const std::string& sdp) {
    std::string error;
    return hostsdk::parseDescription(sdp, &error).value().sections;
}

}  // namespace

TEST(Answer, sendsVideoAndSharesAudio) {
    AnsweringSide side;
    ASSERT_EQ(side.answer(offerOf("video audio")), STATUS_SUCCESS);
    const auto sections = sectionsOf(side.answerSdp());
    ASSERT_EQ(sections.size(), 2U);
    EXPECT_EQ(sections[0].kind, "video");
    EXPECT_TRUE(sections[0].attributes.has("sendonly"));
    EXPECT_EQ(sections[0].formats.at(0), "96");
    EXPECT_NE(sections[0].attributes.value("fmtp").value_or("").find("profile-level-id=42e01f"), std::string::npos);
    EXPECT_EQ(sections[1].kind, "audio");
    EXPECT_TRUE(sections[1].attributes.has("sendrecv"));
    EXPECT_EQ(sections[0].attributes.value("msid").value_or("").find("stream "), 0U);
    EXPECT_FALSE(sections[0].attributes.has("ssrc-group"));
}

TEST(Answer, followsTheOrderOfTheOffer) {
    AnsweringSide side;
    ASSERT_EQ(side.answer(offerOf("audio video")), STATUS_SUCCESS);
    const auto sections = sectionsOf(side.answerSdp());
    ASSERT_EQ(sections.size(), 2U);
    EXPECT_EQ(sections[0].kind, "audio");
    EXPECT_TRUE(sections[0].attributes.has("sendrecv"));
    EXPECT_EQ(sections[1].kind, "video");
    EXPECT_TRUE(sections[1].attributes.has("sendonly"));
}

TEST(Answer, rejectsASectionWithoutACommonCodec) {
    AnsweringSide side;
    ASSERT_EQ(side.answer(offerOf("vp8 audio")), STATUS_SUCCESS);
    const auto sections = sectionsOf(side.answerSdp());
    ASSERT_EQ(sections.size(), 2U);
    EXPECT_EQ(sections[0].port, 0);
    EXPECT_TRUE(sections[1].attributes.has("sendrecv"));
}

TEST(Answer, leavesASecondVideoSectionInactive) {
    AnsweringSide side;
    ASSERT_EQ(side.answer(offerOf("video video")), STATUS_SUCCESS);
    const auto sections = sectionsOf(side.answerSdp());
    ASSERT_EQ(sections.size(), 2U);
    EXPECT_TRUE(sections[0].attributes.has("sendonly"));
    EXPECT_NE(sections[1].port, 0);
    EXPECT_TRUE(sections[1].attributes.has("inactive"));
}

TEST(Offer, isRefusedWhenItIsTheSecond) {
    AnsweringSide side;
    const std::string offer = offerOf("video audio");
    ASSERT_EQ(side.setOffer(offer), STATUS_SUCCESS);
    EXPECT_EQ(side.setOffer(offer), STATUS_INVALID_OPERATION);
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
    EXPECT_EQ(count(side.answerSdp(), "a=end-of-candidates"), 0);
    EXPECT_EQ(count(side.localSdp(), "a=end-of-candidates"), 1);
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
