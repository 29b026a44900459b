#include "signalling/offer_check.h"

#include <gmock/gmock.h>

#include "http/http_error.h"

namespace zelrtc::camera {
namespace {

using ::testing::HasSubstr;

constexpr const char* kSdp = "v=0\r\nm=audio 9 UDP/TLS/RTP/SAVPF 0\r\na=rtcp-mux\r\nm=video 9 UDP/TLS/RTP/SAVPF 96\r\n";

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
    EXPECT_EQ(refusalOf(checkOfferedSdp, kSdp).status, 0);
}

TEST(OfferCheckTest, TakesTheSdpOutOfAnOfferWhateverItsEscapes) {
    EXPECT_EQ(sdpOfOffer(R"({"sdp":"v=0\u000d\u000aa=x\/y","type":"offer"})"), "v=0\r\na=x/y");
}

TEST(OfferCheckTest, WhatIsNoOfferIsABadRequest) {
    for (const char* text : {"", "{", "[]", "3", "{}", R"({"type":"offer"})", R"({"type":"offer","sdp":5})",
                             R"({"sdp":"v=0\r\nm=video 9"})", R"({"type":"answer","sdp":"v=0\r\nm=video 9"})"}) {
        EXPECT_EQ(refusalOf(sdpOfOffer, text).status, 400) << text;
    }
}

TEST(OfferCheckTest, WhatIsNoSessionDescriptionIsABadRequest) {
    for (const char* text : {"", "hello", " v=0\r\n"}) {
        EXPECT_EQ(refusalOf(checkOfferedSdp, text).status, 400) << text;
    }
}

TEST(OfferCheckTest, AMediaLineThatLacksAFieldIsNamed) {
    for (const char* line :
         {"m=", "m=video", "m=video ", "m=video 9", "m=video 9 UDP/TLS/RTP/SAVPF", "m=video 9 UDP/TLS/RTP/SAVPF ",
          "m=video  UDP/TLS/RTP/SAVPF 96", "m= 9 UDP/TLS/RTP/SAVPF 96"}) {
        for (const std::string end : {"\r\n", "\n", ""}) {
            const Refusal refusal = refusalOf(checkOfferedSdp, kSdp + std::string(line) + end);
            EXPECT_EQ(refusal.status, 400) << line;
            EXPECT_THAT(refusal.reason, HasSubstr("\"" + std::string(line) + "\"")) << line;
        }
    }
}

TEST(OfferCheckTest, OfAMediaLineWithoutEndOnlyTheBeginningIsNamed) {
    const Refusal refusal = refusalOf(checkOfferedSdp, kSdp + ("m=" + std::string(20000, 'x')));
    EXPECT_EQ(refusal.status, 400);
    EXPECT_LT(refusal.reason.size(), 200U);
}

TEST(OfferCheckTest, AnOfferWithoutVideoIsToldSo) {
    const Refusal refusal = refusalOf(checkOfferedSdp, "v=0\r\nm=audio 9 UDP/TLS/RTP/SAVPF 0\r\n");
    EXPECT_EQ(refusal.status, 422);
    EXPECT_THAT(refusal.reason, HasSubstr("no video"));
}

TEST(OfferCheckTest, AViewerWithoutH264IsToldSo) {
    const Refusal refusal = refusalOf(checkOfferedSdp, std::string(kSdp) + "a=rtpmap:96 VP8/90000\r\n");
    EXPECT_EQ(refusal.status, 422);
    EXPECT_THAT(refusal.reason, HasSubstr("cannot show H.264"));
}

TEST(OfferCheckTest, H264AmongOtherCodecsPassesInAnyCase) {
    for (const char* name : {"H264", "h264"}) {
        const std::string mappings = "a=rtpmap:96 VP8/90000\r\na=rtpmap:102 " + std::string(name) +
                                     "/90000\r\na=fmtp:102 profile-level-id=42e01f; packetization-mode=1\r\n";
        EXPECT_EQ(refusalOf(checkOfferedSdp, kSdp + mappings).status, 0) << name;
    }
}

TEST(OfferCheckTest, AViewerThatTakesH264OnlyInWholeUnitsIsToldSo) {
    const std::string h264 = std::string(kSdp) + "a=rtpmap:96 H264/90000\r\n";
    for (const char* parameters : {"", "a=fmtp:96 packetization-mode=0\r\n", "a=fmtp:97 packetization-mode=1\r\n"}) {
        const Refusal refusal = refusalOf(checkOfferedSdp, h264 + parameters);
        EXPECT_EQ(refusal.status, 422) << parameters;
        EXPECT_THAT(refusal.reason, HasSubstr("packetization-mode=1")) << parameters;
    }
}

TEST(OfferCheckTest, AViewerThatWantsTwoPortsIsToldSo) {
    const Refusal refusal = refusalOf(checkOfferedSdp, "v=0\r\nm=video 9 UDP/TLS/RTP/SAVPF 96\r\n");
    EXPECT_EQ(refusal.status, 422);
    EXPECT_THAT(refusal.reason, HasSubstr("rtcp-mux"));
}

TEST(OfferCheckTest, TheCodecsOfOtherSectionsAreNotThoseOfTheVideo) {
    const std::string sdp = std::string(kSdp) + "a=rtpmap:96 VP8/90000\r\nm=audio 9 UDP/TLS/RTP/SAVPF 97\r\n";
    EXPECT_EQ(refusalOf(checkOfferedSdp, sdp + "a=rtpmap:97 H264/90000\r\n").status, 422);
}

// Counted as the SDK counts: each line end takes four characters.
TEST(OfferCheckTest, AnOfferOf25000EscapedCharactersPassesAndALongerOneDoesNot) {
    const std::string sdp = kSdp;
    const size_t escaped = sdp.size() + 2 * 4;
    const std::string fill(25000 - escaped, 'a');
    EXPECT_EQ(refusalOf(checkOfferedSdp, sdp + fill).status, 0);
    const Refusal refusal = refusalOf(checkOfferedSdp, sdp + fill + "a");
    EXPECT_EQ(refusal.status, 413);
    EXPECT_THAT(refusal.reason, HasSubstr("25000"));
}

TEST(OfferCheckTest, ACandidateOf255CharactersPassesAndALongerOneDoesNot) {
    const auto candidate = [](size_t length) { return "{\"candidate\":\"" + std::string(length, 'c') + "\"}"; };
    EXPECT_EQ(refusalOf(checkCandidate, candidate(255)).status, 0);
    EXPECT_EQ(refusalOf(checkCandidate, candidate(256)).status, 400);
    EXPECT_EQ(refusalOf(checkCandidateLine, std::string(256, 'c')).status, 400);
}

TEST(OfferCheckTest, WhatIsNoCandidateIsABadRequest) {
    for (const char* text : {"", "candidate:1 1 udp 1 192.0.2.1 9 typ host", "{}", R"({"candidate":1})"}) {
        EXPECT_EQ(refusalOf(checkCandidate, text).status, 400) << text;
    }
}

}  // namespace
}  // namespace zelrtc::camera
