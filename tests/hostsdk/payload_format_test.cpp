#include "text/payload_format.h"

#include <gtest/gtest.h>

#include "offer_text.h"

namespace zelrtc::test {

using hostsdk::answeredParameters;

namespace {

hostsdk::Section section(const std::string& mediaLine, const std::string& lines) {
    std::string error;
    return hostsdk::parseDescription("v=0\r\n" + mediaLine + "\r\n" + lines, &error).value().sections.at(0);
}

// -1 when there is none.
int chosen(const hostsdk::Section& offered, RTC_CODEC codec) {
    std::string reason;
    const auto format = chooseFormat(offered, codec, &reason);
    return format ? format->payloadType : -1;
}

int chosenVideo(const std::string& lines) {
    return chosen(section("m=video 9 UDP/TLS/RTP/SAVPF 96 97 98 99 35 64", lines), kH264);
}

std::string whyNoVideo(const std::string& lines) {
    std::string reason;
    chooseFormat(section("m=video 9 UDP/TLS/RTP/SAVPF 96 64", lines), kH264, &reason);
    return reason;
}

}  // namespace

TEST(ChosenVideo, isConstrainedBaselineInPacketizationModeOne) {
    EXPECT_EQ(chosenVideo("a=rtpmap:96 VP8/90000\r\n"
                          "a=rtpmap:97 H264/90000\r\na=fmtp:97 profile-level-id=640032;packetization-mode=1\r\n"
                          "a=rtpmap:98 H264/90000\r\na=fmtp:98 profile-level-id=42001f;packetization-mode=1\r\n"
                          "a=rtpmap:99 h264/90000\r\na=fmtp:99 packetization-mode=1; profile-level-id=42E01F\r\n"),
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

TEST(ChosenVideo, mayHaveALowPayloadType) {
    EXPECT_EQ(chosenVideo("a=rtpmap:35 H264/90000\r\na=fmtp:35 packetization-mode=1\r\n"), 35);
}

TEST(ChosenVideo, hasNoPayloadTypeThatLooksLikeControlPackets) {
    EXPECT_EQ(chosenVideo("a=rtpmap:64 H264/90000\r\na=fmtp:64 packetization-mode=1\r\n"), -1);
}

TEST(ChosenVideo, isNeverOfPacketizationModeZero) {
    EXPECT_EQ(chosenVideo("a=rtpmap:97 H264/90000\r\na=fmtp:97 profile-level-id=42e01f;packetization-mode=0\r\n"
                          "a=rtpmap:98 H264/90000\r\n"),
              -1);
    EXPECT_EQ(whyNoVideo("a=rtpmap:96 H264/90000\r\n"), "it has H.264 only without packetization-mode=1");
}

TEST(ChosenVideo, isNothingWithoutH264) {
    EXPECT_EQ(chosenVideo("a=rtpmap:96 VP8/90000\r\na=fmtp:96 packetization-mode=1\r\n"), -1);
    EXPECT_EQ(chosenVideo("a=rtpmap:nonsense\r\na=fmtp\r\na=rtpmap\r\na=rtpmap:96\r\n"), -1);
    EXPECT_EQ(whyNoVideo("a=rtpmap:96 VP8/90000\r\n"), "it has no H.264");
}

TEST(ChosenAudio, isMulawWithOrWithoutItsRtpmap) {
    EXPECT_EQ(chosen(section("m=audio 9 RTP/SAVPF 111 0 8", "a=rtpmap:111 opus/48000/2\r\n"), RTC_CODEC_MULAW), 0);
    EXPECT_EQ(chosen(section("m=audio 9 RTP/SAVPF 111 101", "a=rtpmap:101 pcmu/8000\r\n"), RTC_CODEC_MULAW), 101);
    EXPECT_EQ(chosen(section("m=audio 9 RTP/SAVPF 0", "a=rtpmap:0 PCMU/8000/1\r\n"), RTC_CODEC_MULAW), 0);
}

TEST(ChosenAudio, isNothingWithoutMulaw) {
    EXPECT_EQ(chosen(section("m=audio 9 RTP/SAVPF 111 8", "a=rtpmap:111 opus/48000/2\r\n"), RTC_CODEC_MULAW), -1);
}

TEST(AnsweredParameters, nameTheOfferedProfile) {
    EXPECT_EQ(answeredParameters({96, "H264/90000", "packetization-mode=1;profile-level-id=42001f"}, kH264),
              "packetization-mode=1;profile-level-id=42001f");
    EXPECT_EQ(
        answeredParameters(
            {96, "H264/90000", "profile-level-id=640032; packetization-mode=1; level-asymmetry-allowed=1; x=y"}, kH264),
        "level-asymmetry-allowed=1;packetization-mode=1;profile-level-id=640032");
    EXPECT_EQ(answeredParameters({96, "H264/90000", "packetization-mode=1"}, kH264),
              "packetization-mode=1;profile-level-id=42e01f");
    EXPECT_EQ(answeredParameters({0, "PCMU/8000", "ptime=20"}, RTC_CODEC_MULAW), "");
}

}  // namespace zelrtc::test
