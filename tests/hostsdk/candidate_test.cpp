#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "statuses.h"
#include "text/candidate_json.h"
#include "text/candidate_line.h"

namespace zelrtc::test {

namespace {

constexpr STATUS kNoObject = 0x5a000011;
constexpr STATUS kNoCandidate = 0x5a000012;

// The record, followed by a guard.
struct GuardedRecord {
    RtcIceCandidateInit candidate{};
    CHAR guard[64]{};
};

STATUS read(std::string json, RtcIceCandidateInit* candidate) {
    return deserializeRtcIceCandidateInit(json.data(), static_cast<UINT32>(json.size()), candidate);
}

STATUS statusOfCandidate(const std::string& json) {
    RtcIceCandidateInit candidate{};
    return read(json, &candidate);
}

std::string withCandidate(size_t length) {
    return R"({"candidate":")" + std::string(length, 'c') + R"(","sdpMid":"0","sdpMLineIndex":0})";
}

}  // namespace

TEST(CandidateJson, isReadWithItsMembersInAnyOrder) {
    RtcIceCandidateInit candidate{};
    ASSERT_EQ(read(R"({"sdpMLineIndex":0,"sdpMid":"0","usernameFragment":null,"candidate":"candidate:1 1 udp 1 )"
                   R"(192.0.2.7 9 typ host"})",
                   &candidate),
              STATUS_SUCCESS);
    EXPECT_STREQ(candidate.candidate, "candidate:1 1 udp 1 192.0.2.7 9 typ host");
}

TEST(CandidateJson, thatIsNotJsonIsRefused) {
    for (const char* const text : {"", "{}", "[]", "nonsense", R"({"candidate":"candidate:1)", R"({"candidate")"}) {
        EXPECT_EQ(statusOfCandidate(text), kNotJson) << text;
    }
}

TEST(CandidateJson, mustNotBeABareLine) {
    EXPECT_EQ(statusOfCandidate("candidate:1 1 udp 2130706431 192.0.2.2 45020 typ host"), kNoObject);
    EXPECT_EQ(statusOfCandidate("a=candidate:1 1 udp 2130706431 192.0.2.2 45020 typ host"), kNoObject);
    EXPECT_EQ(statusOfCandidate(R"(["candidate:1"])"), kNoObject);
}

TEST(CandidateJson, withoutACandidateIsRefused) {
    EXPECT_EQ(statusOfCandidate(R"({"sdpMid":"0"})"), kNoCandidate);
    EXPECT_EQ(statusOfCandidate(R"({"candidate":"","sdpMid":"0"})"), kNoCandidate);
    EXPECT_EQ(statusOfCandidate(R"({"candidate":null})"), kNoCandidate);
}

TEST(CandidateJson, of255CharactersIsTerminated) {
    GuardedRecord record;
    ASSERT_EQ(read(withCandidate(255), &record.candidate), STATUS_SUCCESS);
    EXPECT_EQ(strnlen(record.candidate.candidate, sizeof(record.candidate.candidate)), 255U);
}

TEST(CandidateJson, of256CharactersFillsTheRecordWithoutATerminator) {
    GuardedRecord record;
    ASSERT_EQ(read(withCandidate(256), &record.candidate), STATUS_SUCCESS);
    EXPECT_EQ(memchr(record.candidate.candidate, '\0', sizeof(record.candidate.candidate)), nullptr);
}

TEST(CandidateJson, thatIsLongerThanTheRecordStaysInsideIt) {
    for (const size_t length : {256U, 257U, 300U, 9000U}) {
        GuardedRecord record;
        memset(record.guard, 'g', sizeof(record.guard));
        ASSERT_EQ(read(withCandidate(length), &record.candidate), STATUS_SUCCESS);
        EXPECT_EQ(memchr(record.candidate.candidate, '\0', sizeof(record.candidate.candidate)), nullptr);
        EXPECT_EQ(std::string(record.guard, sizeof(record.guard)), std::string(sizeof(record.guard), 'g')) << length;
    }
}

TEST(CandidateJson, needsBothItsArguments) {
    RtcIceCandidateInit candidate{};
    CHAR json[] = "{}";
    EXPECT_EQ(deserializeRtcIceCandidateInit(nullptr, 2, &candidate), STATUS_NULL_ARG);
    EXPECT_EQ(deserializeRtcIceCandidateInit(json, 2, nullptr), STATUS_NULL_ARG);
}

TEST(CandidateJson, keepsEscapesOtherThanLineEndsAsTheyAre) {
    RtcIceCandidateInit candidate{};
    ASSERT_EQ(read(R"({"candidate":"candidate:1\/a 1 udp\r\n"})", &candidate), STATUS_SUCCESS);
    EXPECT_STREQ(candidate.candidate, "candidate:1\\/a 1 udp\r\n");
}

TEST(CandidateJson, isWrittenInTheSdksForm) {
    EXPECT_EQ(zelrtc::hostsdk::writeCandidateJson("candidate:1 1 udp 1 192.0.2.2 9 typ host", "0", 0),
              R"({"candidate":"candidate:1 1 udp 1 192.0.2.2 9 typ host","sdpMid":"0","sdpMLineIndex":0})");
    EXPECT_EQ(zelrtc::hostsdk::writeCandidateJson("c", "a\"b", 2),
              R"({"candidate":"c","sdpMid":"a\"b","sdpMLineIndex":2})");
}

TEST(CandidateLine, ofAHostGetsTheAttributesThatTheSdkWrites) {
    EXPECT_EQ(zelrtc::hostsdk::sdkCandidate("candidate:1 1 UDP 2130706431 192.0.2.2 45020 typ host"),
              "candidate:1 1 udp 2130706431 192.0.2.2 45020 typ host raddr 0.0.0.0 rport 0 generation 0 "
              "network-cost 999");
}

TEST(CandidateLine, ofARelayKeepsItsRelatedAddress) {
    EXPECT_EQ(
        zelrtc::hostsdk::sdkCandidate("candidate:3 1 UDP 1 198.51.100.1 5000 typ relay raddr 192.0.2.2 rport 45020"),
        "candidate:3 1 udp 1 198.51.100.1 5000 typ relay raddr 192.0.2.2 rport 45020 generation 0 "
        "network-cost 999");
}

TEST(CandidateLine, saysWhetherItIsOfARelay) {
    EXPECT_TRUE(zelrtc::hostsdk::isRelayCandidate("candidate:3 1 UDP 1 198.51.100.1 5000 typ relay raddr 192.0.2.2"));
    EXPECT_TRUE(zelrtc::hostsdk::isRelayCandidate("a=candidate:3 1 UDP 1 198.51.100.1 5000 typ relay raddr 192.0.2.2"));
    EXPECT_FALSE(zelrtc::hostsdk::isRelayCandidate("candidate:1 1 udp 1 192.0.2.2 9 typ host"));
    EXPECT_FALSE(zelrtc::hostsdk::isRelayCandidate("a=x 3 1 UDP 1 198.51.100.1 typ relay"));
}

TEST(CandidateLine, withANumericAddressOverUdpIsUsable) {
    for (const char* const line : {"candidate:1 1 udp 2130706431 192.0.2.2 45020 typ host",
                                   "candidate:1 1 UDP 1 2001:db8::1 9 typ srflx raddr :: "
                                   "rport 0 generation 0 ufrag abcd network-id 1",
                                   "candidate:1 1 udp 4294967295 192.0.2.2 0 typ host"}) {
        EXPECT_EQ(zelrtc::hostsdk::usableCandidate(line), std::string(line));
    }
    EXPECT_EQ(zelrtc::hostsdk::usableCandidate("a=candidate:1 1 udp 1 192.0.2.2 9 typ host"),
              std::string("candidate:1 1 udp 1 192.0.2.2 9 typ host"));
}

TEST(CandidateLine, thatTheAgentCannotUseIsLeftOut) {
    for (const char* const line :
         {"", "candidate:", "nonsense", "candidate:1 1 udp 1 192.0.2.2 9", "1 1 udp 1 192.0.2.2 9 typ host",
          "candidate:1 1 tcp 1 192.0.2.2 9 typ host tcptype active",
          "candidate:1 1 udp 1 0b5c1d5e-1c0b-4b5e-9a3c-7d3b8e1c2f10.local 9 typ host",
          "candidate:1 1 udp 1 192.0.2.2 65536 typ host", "candidate:1 1 udp 4294967296 192.0.2.2 9 typ host",
          "candidate:1 1 udp 99999999999999999999 192.0.2.2 9 typ host", "candidate:1 x udp 1 192.0.2.2 9 typ host",
          "candidate:1 1 udp -1 192.0.2.2 9 typ host", "candidate:1 1 udp 1 300.0.2.2 9 typ host"}) {
        EXPECT_EQ(zelrtc::hostsdk::usableCandidate(line), std::nullopt) << line;
    }
}

}  // namespace zelrtc::test
