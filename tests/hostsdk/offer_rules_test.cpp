#include "text/offer_rules.h"

#include <gtest/gtest.h>

#include "statuses.h"

namespace zelrtc::test {

namespace {

constexpr STATUS kTooManyAttributes = 0x40000002;

const char* const kSession = "v=0\r\no=- 1 1 IN IP4 0.0.0.0\r\ns=-\r\nt=0 0\r\n";
const char* const kFingerprint = "a=fingerprint:sha-256 AA:BB\r\n";
const char* const kCredentials = "a=ice-ufrag:abcd\r\na=ice-pwd:abcdefghijklmnopqrstuv\r\n";

std::string section(const std::string& lines) {
    return "m=video 9 UDP/TLS/RTP/SAVPF 96\r\n" + lines;
}

std::string repeated(int count, const std::string& text) {
    std::string result;
    for (int i = 0; i < count; i++) {
        result += text;
    }
    return result;
}

STATUS check(const std::string& rest) {
    return zelrtc::hostsdk::checkOffer(kSession + rest);
}

bool isNamed(const std::string& line) {
    return zelrtc::hostsdk::hasSessionName("v=0\r\n" + line + "t=0 0\r\n");
}

}  // namespace

TEST(OfferRules, takeAFingerprintFromTheSessionOrASection) {
    EXPECT_EQ(check(kFingerprint + section(kCredentials)), STATUS_SUCCESS);
    EXPECT_EQ(check(section(std::string(kCredentials) + kFingerprint)), STATUS_SUCCESS);
}

TEST(OfferRules, refuseOneWithoutAFingerprint) {
    EXPECT_EQ(check(section(kCredentials)), kFingerprintMissing);
}

TEST(OfferRules, refuseIceUserAndPasswordThatStandInNoSection) {
    EXPECT_EQ(check(std::string(kFingerprint) + kCredentials + section("")), kSdpUnreadable);
    EXPECT_EQ(check(kFingerprint + section("")), kSdpUnreadable);
    EXPECT_EQ(check(kFingerprint + section("a=ice-ufrag:abcd\r\n")), kSdpUnreadable);
}

TEST(OfferRules, takeFiveSectionsAndRefuseSix) {
    const std::string one = section(kCredentials);
    EXPECT_EQ(check(kFingerprint + repeated(5, one)), STATUS_SUCCESS);
    EXPECT_EQ(check(kFingerprint + repeated(6, one)), STATUS_BUFFER_TOO_SMALL);
}

TEST(OfferRules, refuseThreeHundredAttributesInASection) {
    const std::string attribute = "a=x\r\n";
    EXPECT_EQ(check(kFingerprint + section(kCredentials + repeated(150, attribute)) +
                    section(kCredentials + repeated(150, attribute))),
              STATUS_SUCCESS);
    EXPECT_EQ(check(kFingerprint + section(kCredentials + repeated(298, attribute))), kTooManyAttributes);
}

TEST(SessionName, isWhatStandsAfterItsLetter) {
    EXPECT_TRUE(isNamed("s=-\r\n"));
    EXPECT_TRUE(isNamed("s= \r\n"));
    EXPECT_FALSE(isNamed("s=\r\n"));
    EXPECT_FALSE(isNamed("s=\n"));
    EXPECT_FALSE(isNamed(""));
}

}  // namespace zelrtc::test
