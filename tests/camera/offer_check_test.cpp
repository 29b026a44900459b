#include "signalling/offer_check.h"

#include <gmock/gmock.h>

#include "http/http_error.h"

namespace zelrtc::camera {
namespace {

using ::testing::HasSubstr;

constexpr const char* kSdp = "v=0\r\nm=audio 9 UDP/TLS/RTP/SAVPF 0\r\nm=video 9 UDP/TLS/RTP/SAVPF 96\r\n";

struct Refusal {
    int status;
    std::string reason;
};

template <typename Check>
Refusal refusalOf(Check check, const std::string& text) {
    try {
        check(text);
    } catch (const HttpError& error) {
        return {error.httpStatus(), error.what()};
    }
    return {0, ""};
}

TEST(OfferCheckTest, AnOfferWithVideoPasses) {
    EXPECT_EQ(refusalOf(checkOffer, offerFromSdp(kSdp)).status, 0);
}

TEST(OfferCheckTest, WhatIsNoOfferIsABadRequest) {
    for (const char* text : {"", "{", "[]", "3", "{}", R"({"type":"offer"})", R"({"type":"offer","sdp":5})",
                             R"({"sdp":"v=0\r\nm=video 9"})", R"({"type":"answer","sdp":"v=0\r\nm=video 9"})",
                             R"({"type":"offer","sdp":"hello"})"}) {
        EXPECT_EQ(refusalOf(checkOffer, text).status, 400) << text;
    }
}

TEST(OfferCheckTest, AnOfferWithoutVideoIsToldSo) {
    const Refusal refusal = refusalOf(checkOffer, offerFromSdp("v=0\r\nm=audio 9 UDP/TLS/RTP/SAVPF 0\r\n"));
    EXPECT_EQ(refusal.status, 422);
    EXPECT_THAT(refusal.reason, HasSubstr("no video"));
}

TEST(OfferCheckTest, AViewerWithoutH264IsToldSo) {
    const Refusal refusal = refusalOf(checkOffer, offerFromSdp(std::string(kSdp) + "a=rtpmap:96 VP8/90000\r\n"));
    EXPECT_EQ(refusal.status, 422);
    EXPECT_THAT(refusal.reason, HasSubstr("cannot show H.264"));
}

TEST(OfferCheckTest, H264AmongOtherCodecsPassesInAnyCase) {
    for (const char* name : {"H264", "h264"}) {
        const std::string mappings = "a=rtpmap:96 VP8/90000\r\na=rtpmap:102 " + std::string(name) + "/90000\r\n";
        EXPECT_EQ(refusalOf(checkOffer, offerFromSdp(kSdp + mappings)).status, 0) << name;
    }
}

TEST(OfferCheckTest, TheCodecsOfOtherSectionsAreNotThoseOfTheVideo) {
    const std::string sdp = std::string(kSdp) + "a=rtpmap:96 VP8/90000\r\nm=audio 9 UDP/TLS/RTP/SAVPF 97\r\n";
    EXPECT_EQ(refusalOf(checkOffer, offerFromSdp(sdp + "a=rtpmap:97 H264/90000\r\n")).status, 422);
}

TEST(OfferCheckTest, AnOfferTooLongForTheSdkIsTooLarge) {
    EXPECT_EQ(refusalOf(checkOffer, offerFromSdp(kSdp + std::string(25000, 'a'))).status, 413);
}

TEST(OfferCheckTest, ACandidateOf255CharactersPassesAndALongerOneDoesNot) {
    const auto candidate = [](size_t length) { return "{\"candidate\":\"" + std::string(length, 'c') + "\"}"; };
    EXPECT_EQ(refusalOf(checkCandidate, candidate(255)).status, 0);
    EXPECT_EQ(refusalOf(checkCandidate, candidate(256)).status, 400);
}

TEST(OfferCheckTest, WhatIsNoCandidateIsABadRequest) {
    for (const char* text : {"", "candidate:1 1 udp 1 192.0.2.1 9 typ host", "{}", R"({"candidate":1})"}) {
        EXPECT_EQ(refusalOf(checkCandidate, text).status, 400) << text;
    }
}

TEST(OfferCheckTest, BytesThatAreNotUtf8MakeNoJsonThatCannotBeWritten) {
    EXPECT_THAT(offerFromSdp("v=0\xff"), HasSubstr("v=0"));
}

TEST(OfferCheckTest, TakesTheSdpOutOfAnAnswer) {
    EXPECT_EQ(sdpOfAnswer(R"({"type": "answer", "sdp": "v=0\r\n"})"), "v=0\r\n");
    EXPECT_EQ(sdpOfAnswer("{}"), "");
    EXPECT_EQ(sdpOfAnswer("nothing"), "");
}

}  // namespace
}  // namespace zelrtc::camera
