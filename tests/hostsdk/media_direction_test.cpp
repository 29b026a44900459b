#include "text/media_direction.h"

#include <gtest/gtest.h>

namespace zelrtc::test {

using hostsdk::answerDirection;

namespace {

constexpr RTC_RTP_TRANSCEIVER_DIRECTION kSendrecv = RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV;
constexpr RTC_RTP_TRANSCEIVER_DIRECTION kSendonly = RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY;
constexpr RTC_RTP_TRANSCEIVER_DIRECTION kRecvonly = RTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY;
constexpr RTC_RTP_TRANSCEIVER_DIRECTION kInactive = RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE;

RTC_RTP_TRANSCEIVER_DIRECTION offered(const std::string& session, const std::string& section) {
    std::string error;
    const auto offer =
        hostsdk::parseDescription("v=0\r\n" + session + "m=audio 9 RTP/SAVPF 0\r\n" + section, &error).value();
    return offeredDirection(offer, offer.sections[0]);
}

}  // namespace

TEST(AnswerDirection, isWhatBothSidesWant) {
    EXPECT_EQ(answerDirection(kSendrecv, kSendrecv), kSendrecv);
    EXPECT_EQ(answerDirection(kRecvonly, kSendrecv), kSendonly);
    EXPECT_EQ(answerDirection(kSendonly, kSendrecv), kRecvonly);
    EXPECT_EQ(answerDirection(kInactive, kSendrecv), kInactive);
    EXPECT_EQ(answerDirection(kSendrecv, kSendonly), kSendonly);
    EXPECT_EQ(answerDirection(kSendonly, kSendonly), kInactive);
    EXPECT_EQ(answerDirection(kSendrecv, kRecvonly), kRecvonly);
}

TEST(OfferedDirection, isTheSectionsOrElseTheSessionsOrElseBoth) {
    EXPECT_EQ(offered("a=recvonly\r\n", "a=inactive\r\n"), kInactive);
    EXPECT_EQ(offered("a=recvonly\r\n", ""), kRecvonly);
    EXPECT_EQ(offered("", "a=sendonly\r\n"), kSendonly);
    EXPECT_EQ(offered("", ""), kSendrecv);
}

TEST(OppositeDirection, isTheSameFromTheOtherEnd) {
    EXPECT_EQ(hostsdk::oppositeDirection(kSendonly), kRecvonly);
    EXPECT_EQ(hostsdk::oppositeDirection(kRecvonly), kSendonly);
    EXPECT_EQ(hostsdk::oppositeDirection(kSendrecv), kSendrecv);
    EXPECT_EQ(hostsdk::oppositeDirection(kInactive), kInactive);
}

}  // namespace zelrtc::test
