#include "text/offer.h"

#include <gtest/gtest.h>

#include "text/answer.h"

namespace zelrtc::test {

namespace {

constexpr RTC_CODEC kH264 = RTC_CODEC_H264_PROFILE_42E01F_LEVEL_ASYMMETRY_ALLOWED_PACKETIZATION_MODE;
constexpr RTC_CODEC kMulaw = RTC_CODEC_MULAW;

constexpr RTC_RTP_TRANSCEIVER_DIRECTION kSendrecv = RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV;
constexpr RTC_RTP_TRANSCEIVER_DIRECTION kSendonly = RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY;
constexpr RTC_RTP_TRANSCEIVER_DIRECTION kRecvonly = RTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY;
constexpr RTC_RTP_TRANSCEIVER_DIRECTION kInactive = RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE;

zelrtc::hostsdk::OfferedMedia videoSection(const std::string& lines) {
    return zelrtc::hostsdk::parseOffer("v=0\r\nm=video 9 UDP/TLS/RTP/SAVPF 96 97 98 99\r\n" + lines).at(0);
}

int chosenVideo(const std::string& lines) {
    const std::optional<zelrtc::hostsdk::PayloadFormat> format =
        zelrtc::hostsdk::chooseFormat(videoSection(lines), kH264);
    return format ? format->payloadType : -1;
}

}  // namespace

TEST(Offer, thatIsNoDescriptionHasNoMedia) {
    EXPECT_TRUE(zelrtc::hostsdk::parseOffer("").empty());
    EXPECT_TRUE(zelrtc::hostsdk::parseOffer("rubbish\r\nm=video 9 RTP 96\r\n").empty());
    EXPECT_TRUE(zelrtc::hostsdk::parseOffer("v=0\r\ns=-\r\n").empty());
}

TEST(Offer, listsItsMediaInTheirOrder) {
    const auto media = zelrtc::hostsdk::parseOffer(
        "v=0\na=recvonly\nm=application 9 UDP/DTLS/SCTP webrtc-datachannel\na=mid:data\nm=audio 0 RTP/SAVPF 0 8\n"
        "a=mid:1\na=sendrecv\nm=video 9 RTP/SAVPF 96\na=mid:v\n");
    ASSERT_EQ(media.size(), 3U);
    EXPECT_EQ(media[0].kind, "application");
    EXPECT_EQ(media[0].mid, "data");
    EXPECT_EQ(media[1].kind, "audio");
    EXPECT_EQ(media[1].direction, kSendrecv);
    EXPECT_TRUE(media[1].rejected);
    EXPECT_EQ(media[2].kind, "video");
    EXPECT_EQ(media[2].mid, "v");
    EXPECT_EQ(media[2].direction, kRecvonly);
    EXPECT_FALSE(media[2].rejected);
}

TEST(Offer, doesNotRejectWhatItOnlyBundles) {
    const auto media = zelrtc::hostsdk::parseOffer("v=0\r\nm=audio 0 RTP/SAVPF 0\r\na=bundle-only\r\n");
    EXPECT_FALSE(media.at(0).rejected);
}

TEST(Offer, tellsWhetherASectionNamesItsSource) {
    const auto media = zelrtc::hostsdk::parseOffer(
        "v=0\r\nm=audio 9 RTP/SAVPF 0\r\na=ssrc:1 cname:x\r\nm=video 9 RTP/SAVPF 96\r\na=ssrc-group:FID 1 2\r\n");
    EXPECT_TRUE(media.at(0).namesSource);
    EXPECT_FALSE(media.at(1).namesSource);
}

TEST(ChosenVideo, isConstrainedBaselineInPacketizationModeOne) {
    EXPECT_EQ(chosenVideo("a=rtpmap:96 VP8/90000\r\n"
                          "a=rtpmap:97 H264/90000\r\na=fmtp:97 profile-level-id=640032;packetization-mode=1\r\n"
                          "a=rtpmap:98 H264/90000\r\na=fmtp:98 profile-level-id=42001f;packetization-mode=1\r\n"
                          "a=rtpmap:99 H264/90000\r\na=fmtp:99 packetization-mode=1; profile-level-id=42E01F\r\n"),
              99);
}

TEST(ChosenVideo, isBaselineRatherThanAHigherProfile) {
    EXPECT_EQ(chosenVideo("a=rtpmap:97 H264/90000\r\na=fmtp:97 profile-level-id=4d001f;packetization-mode=1\r\n"
                          "a=rtpmap:98 H264/90000\r\na=fmtp:98 profile-level-id=42001f;packetization-mode=1\r\n"),
              98);
}

TEST(ChosenVideo, isAHigherProfileWhenThereIsNoOther) {
    EXPECT_EQ(chosenVideo("a=rtpmap:97 H264/90000\r\na=fmtp:97 profile-level-id=64001f;packetization-mode=1\r\n"), 97);
}

TEST(ChosenVideo, isNeverOfPacketizationModeZero) {
    EXPECT_EQ(chosenVideo("a=rtpmap:97 H264/90000\r\na=fmtp:97 profile-level-id=42e01f;packetization-mode=0\r\n"
                          "a=rtpmap:98 H264/90000\r\n"),
              -1);
}

TEST(ChosenVideo, isNothingWithoutH264) {
    EXPECT_EQ(chosenVideo("a=rtpmap:96 VP8/90000\r\na=fmtp:96 packetization-mode=1\r\n"), -1);
    EXPECT_EQ(chosenVideo("a=rtpmap:nonsense\r\na=fmtp\r\n"), -1);
}

TEST(ChosenAudio, isMulawWithOrWithoutItsRtpmap) {
    const auto bare =
        zelrtc::hostsdk::parseOffer("v=0\r\nm=audio 9 RTP/SAVPF 111 0 8\r\na=rtpmap:111 opus/48000/2\r\n");
    EXPECT_EQ(zelrtc::hostsdk::chooseFormat(bare.at(0), kMulaw)
                  .value_or(zelrtc::hostsdk::PayloadFormat{-1, "", ""})
                  .payloadType,
              0);
    const auto mapped = zelrtc::hostsdk::parseOffer("v=0\r\nm=audio 9 RTP/SAVPF 111 101\r\na=rtpmap:101 pcmu/8000\r\n");
    EXPECT_EQ(zelrtc::hostsdk::chooseFormat(mapped.at(0), kMulaw)
                  .value_or(zelrtc::hostsdk::PayloadFormat{-1, "", ""})
                  .payloadType,
              101);
}

TEST(ChosenAudio, isNothingWithoutMulaw) {
    const auto media = zelrtc::hostsdk::parseOffer("v=0\r\nm=audio 9 RTP/SAVPF 111 8\r\na=rtpmap:111 opus/48000/2\r\n");
    EXPECT_FALSE(zelrtc::hostsdk::chooseFormat(media.at(0), kMulaw));
}

TEST(AnswerDirection, isWhatBothSidesWant) {
    EXPECT_EQ(zelrtc::hostsdk::answerDirection(kSendrecv, kSendrecv), kSendrecv);
    EXPECT_EQ(zelrtc::hostsdk::answerDirection(kRecvonly, kSendrecv), kSendonly);
    EXPECT_EQ(zelrtc::hostsdk::answerDirection(kSendonly, kSendrecv), kRecvonly);
    EXPECT_EQ(zelrtc::hostsdk::answerDirection(kInactive, kSendrecv), kInactive);
    EXPECT_EQ(zelrtc::hostsdk::answerDirection(kSendrecv, kSendonly), kSendonly);
    EXPECT_EQ(zelrtc::hostsdk::answerDirection(kSendonly, kSendonly), kInactive);
    EXPECT_EQ(zelrtc::hostsdk::answerDirection(kSendrecv, kRecvonly), kRecvonly);
}

TEST(CompleteAnswer, namesTheOfferedProfile) {
    EXPECT_EQ(zelrtc::hostsdk::completeAnswer("a=fmtp:96 packetization-mode=1\r\n", {{96, "42001f"}}),
              "a=fmtp:96 packetization-mode=1;profile-level-id=42001f\r\n");
    EXPECT_EQ(zelrtc::hostsdk::completeAnswer("a=fmtp:96 packetization-mode=1\r\n", {{96, ""}}),
              "a=fmtp:96 packetization-mode=1;profile-level-id=42e01f\r\n");
    EXPECT_EQ(
        zelrtc::hostsdk::completeAnswer("a=fmtp:96 profile-level-id=42e01f\r\na=fmtp:97 apt=96\r\n", {{96, "42001f"}}),
        "a=fmtp:96 profile-level-id=42e01f\r\na=fmtp:97 apt=96\r\n");
}

TEST(CompleteAnswer, leavesTransportWideFeedbackOut) {
    EXPECT_EQ(zelrtc::hostsdk::completeAnswer("a=rtcp-fb:96 nack\r\na=rtcp-fb:96 transport-cc\r\n"
                                              "a=extmap:3 http://www.ietf.org/id/"
                                              "draft-holmer-rmcat-transport-wide-cc-extensions-01\r\na=sendonly\r\n",
                                              {}),
              "a=rtcp-fb:96 nack\r\na=sendonly\r\n");
}

}  // namespace zelrtc::test
