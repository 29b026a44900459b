#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "answering_side.h"
#include "statuses.h"
#include "stun_server.h"
#include "text/session_description.h"
#include "webrtcbin_viewer.h"

namespace zelrtc::test {

using namespace std::chrono_literals;

namespace {

std::string offerOf(const std::string& sections) {
    initKvsWebRtc();
    WebrtcbinViewer viewer(sections);
    return viewer.makeOffer();
}

std::string withoutLines(std::string text, const std::string& lineStart) {
    const std::string start = "\n" + lineStart;
    for (size_t line = text.find(start); line != std::string::npos; line = text.find(start)) {
        text.erase(line, text.find('\n', line + 1) - line);
    }
    return text;
}

STATUS statusOf(const std::string& offer) {
    AnsweringSide side;
    return side.setOffer(offer);
}

RtcIceServerStats serverStatistics(AnsweringSide* side) {
    RtcStats stats{};
    stats.requestedTypeOfStats = RTC_STATS_TYPE_ICE_SERVER;
    EXPECT_EQ(rtcPeerConnectionGetMetrics(side->connection(), nullptr, &stats), STATUS_SUCCESS);
    return stats.rtcStatsObject.iceServerStats;
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

TEST(Gathering, lastsTenSecondsBesideADeadServerAndTheCallConnects) {
    ASSERT_EQ(initKvsWebRtc(), STATUS_SUCCESS);
    AnsweringSide side("stun:127.0.0.1:1");
    WebrtcbinViewer viewer("video audio");
    const auto started = std::chrono::steady_clock::now();
    ASSERT_EQ(side.answer(viewer.makeOffer()), STATUS_SUCCESS);
    ASSERT_TRUE(side.waitForGathering());
    EXPECT_GE(std::chrono::steady_clock::now() - started, 10s);
    viewer.setAnswer(side.localSdp());
    EXPECT_TRUE(side.waitForState(RTC_PEER_CONNECTION_STATE_CONNECTED));
    EXPECT_EQ(side.states(), (std::vector<RTC_PEER_CONNECTION_STATE>{RTC_PEER_CONNECTION_STATE_CONNECTING,
                                                                     RTC_PEER_CONNECTION_STATE_CONNECTED}));
}

TEST(Gathering, isShortWhenEveryServerAnswers) {
    const StunServer server;
    AnsweringSide side(server.url());
    ASSERT_EQ(side.answer(offerOf("video audio")), STATUS_SUCCESS);
    EXPECT_TRUE(side.waitForGathering(9s));
}

TEST(Offer, isRefusedWithTheSdksStatuses) {
    const std::string offer = offerOf("video audio");
    EXPECT_EQ(statusOf(withoutLines(offer, "a=fingerprint:")), kFingerprintMissing);
    EXPECT_EQ(statusOf(withoutLines(offer, "a=ice-ufrag:")), kSdpUnreadable);
}

TEST(Offer, withoutASessionNameIsTakenAndNotAnswered) {
    AnsweringSide side;
    RtcSessionDescriptionInit answer{};
    ASSERT_EQ(side.setOffer(withoutLines(offerOf("video audio"), "s=")), STATUS_SUCCESS);
    EXPECT_EQ(createAnswer(side.connection(), &answer), kNoRemoteDescription);
}

TEST(Statistics, ofAnIceServerAreOfWhatWasAsked) {
    const StunServer server;
    AnsweringSide side(server.url());
    EXPECT_EQ(serverStatistics(&side).totalRequestsSent, 0U);
    ASSERT_EQ(side.answer(offerOf("video audio")), STATUS_SUCCESS);
    ASSERT_TRUE(side.waitForGathering());
    const RtcIceServerStats asked = serverStatistics(&side);
    EXPECT_EQ(asked.url, server.url());
    EXPECT_GE(asked.totalRequestsSent, 1U);
    EXPECT_EQ(asked.totalResponsesReceived, 1U);
    EXPECT_GT(asked.totalRoundTripTime, 0U);
    EXPECT_STREQ(asked.protocol, "");
}

TEST(Statistics, giveAPortAsTheSdkDoes) {
    AnsweringSide low("stun:127.0.0.1:32767");
    EXPECT_EQ(serverStatistics(&low).port, 32767);
    AnsweringSide high("stun:127.0.0.1:40000");
    EXPECT_EQ(serverStatistics(&high).port, 40000 - 65536);
}

}  // namespace zelrtc::test
