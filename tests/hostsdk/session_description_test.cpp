#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "statuses.h"

namespace zelrtc::test {

namespace {

constexpr STATUS kUnknownType = 0x55000003;
constexpr STATUS kNoSdp = 0x55000004;
constexpr STATUS kNoType = 0x55000005;
constexpr STATUS kSdpTooLong = 0x55000006;

STATUS read(std::string json, RtcSessionDescriptionInit* description) {
    return deserializeSessionDescriptionInit(json.data(), static_cast<UINT32>(json.size()), description);
}

STATUS statusOfDescription(const std::string& json) {
    RtcSessionDescriptionInit description{};
    return read(json, &description);
}

RtcSessionDescriptionInit makeDescription(SDP_TYPE type, const std::string& sdp) {
    RtcSessionDescriptionInit description{};
    description.type = type;
    sdp.copy(description.sdp, sizeof(description.sdp) - 1);
    return description;
}

std::string write(RtcSessionDescriptionInit description) {
    std::vector<CHAR> buffer(60000);
    auto length = static_cast<UINT32>(buffer.size());
    EXPECT_EQ(serializeSessionDescriptionInit(&description, buffer.data(), &length), STATUS_SUCCESS);
    EXPECT_EQ(length, strlen(buffer.data()) + 1);
    return buffer.data();
}

}  // namespace

TEST(SessionDescriptionJson, isReadWithMembersInAnyOrderAndExtraOnesIgnored) {
    RtcSessionDescriptionInit description{};
    ASSERT_EQ(read(R"({"extra":"x", "sdp":"v=0\r\ns=-\r\n", "number": 3, "type":"offer"})", &description),
              STATUS_SUCCESS);
    EXPECT_EQ(description.type, SDP_TYPE_OFFER);
    EXPECT_STREQ(description.sdp, "v=0\r\ns=-\r\n");
    ASSERT_EQ(read(R"({"type":"answer","sdp":"v=0"})", &description), STATUS_SUCCESS);
    EXPECT_EQ(description.type, SDP_TYPE_ANSWER);
}

TEST(SessionDescriptionJson, isReadNoFurtherThanItsLength) {
    std::string json = R"({"type":"offer","sdp":"v=0"})";
    const auto length = static_cast<UINT32>(json.size());
    json += "rubbish";
    RtcSessionDescriptionInit description{};
    EXPECT_EQ(deserializeSessionDescriptionInit(json.data(), length, &description), STATUS_SUCCESS);
}

TEST(SessionDescriptionJson, thatIsNoObjectIsRefused) {
    for (const char* const text : {"", "offer", "{}", "[]", R"({"type":"offer","sdp":"v=0)", "\"text\"", "7", "{\"a\"}",
                                   R"([{"type":"offer","sdp":"v=0"}])", "\xff\xfe"}) {
        EXPECT_EQ(statusOfDescription(text), kNotJson) << text;
    }
}

TEST(SessionDescriptionJson, withoutATypeIsRefused) {
    EXPECT_EQ(statusOfDescription(R"({"sdp":"v=0"})"), kNoType);
    EXPECT_EQ(statusOfDescription(R"({"nested":{"type":"offer"},"sdp":"v=0"})"), kNoType);
}

TEST(SessionDescriptionJson, withAnotherTypeIsRefused) {
    EXPECT_EQ(statusOfDescription(R"({"type":"pranswer","sdp":"v=0"})"), kUnknownType);
    EXPECT_EQ(statusOfDescription(R"({"type":"Offer","sdp":"v=0"})"), kUnknownType);
    EXPECT_EQ(statusOfDescription(R"({"type":1,"sdp":"v=0"})"), kUnknownType);
}

TEST(SessionDescriptionJson, withoutAnSdpIsRefused) {
    EXPECT_EQ(statusOfDescription(R"({"type":"offer"})"), kNoSdp);
    EXPECT_EQ(statusOfDescription(R"({"type":"offer","sdp":""})"), kNoSdp);
    EXPECT_EQ(statusOfDescription(R"({"type":"offer","sdp":null})"), kNoSdp);
}

TEST(SessionDescriptionJson, withRawLineEndsInTheSdpIsRefused) {
    EXPECT_EQ(statusOfDescription("{\"type\":\"offer\",\"sdp\":\"v=0\r\ns=-\r\n\"}"), kNoSdp);
    EXPECT_EQ(statusOfDescription("{\"type\":\"offer\",\"sdp\":\"v=0\\r\\ns=-\n\"}"), kNoSdp);
}

TEST(SessionDescriptionJson, mayHaveLineEndsBetweenItsMembers) {
    EXPECT_EQ(statusOfDescription("{\r\n \"type\":\"offer\",\n \"sdp\":\"v=0\\r\\n\"\n}\n"), STATUS_SUCCESS);
}

TEST(SessionDescriptionJson, holdsUpTo25000CharactersOfEscapedSdp) {
    const std::string head = R"({"type":"offer","sdp":")";
    EXPECT_EQ(statusOfDescription(head + std::string(25000, 'a') + "\"}"), STATUS_SUCCESS);
    EXPECT_EQ(statusOfDescription(head + std::string(25001, 'a') + "\"}"), kSdpTooLong);
    // The limit counts the escaped text.
    EXPECT_EQ(statusOfDescription(head + std::string(24996, 'a') + "\\r\\n\"}"), STATUS_SUCCESS);
    EXPECT_EQ(statusOfDescription(head + std::string(24997, 'a') + "\\r\\n\"}"), kSdpTooLong);
}

TEST(SessionDescriptionJson, thatIsRefusedLeavesTheRecordAlone) {
    RtcSessionDescriptionInit description = makeDescription(SDP_TYPE_ANSWER, "before");
    EXPECT_EQ(read(R"({"type":"offer"})", &description), kNoSdp);
    EXPECT_EQ(description.type, SDP_TYPE_ANSWER);
    EXPECT_STREQ(description.sdp, "before");
}

TEST(SessionDescriptionJson, isWrittenWithEscapedLineEnds) {
    EXPECT_EQ(write(makeDescription(SDP_TYPE_ANSWER, "v=0\r\ns=-\r\n")),
              R"({"type": "answer", "sdp": "v=0\r\ns=-\r\n"})");
    EXPECT_EQ(write(makeDescription(SDP_TYPE_OFFER, "v=0\r\n")), R"({"type": "offer", "sdp": "v=0\r\n"})");
}

TEST(SessionDescriptionJson, isWrittenAsAnswerUnlessItIsAnOffer) {
    EXPECT_EQ(write(makeDescription(static_cast<SDP_TYPE>(0), "v=0")), R"({"type": "answer", "sdp": "v=0"})");
}

TEST(SessionDescriptionJson, keepsEscapesOtherThanLineEndsAsTheyAre) {
    RtcSessionDescriptionInit description{};
    ASSERT_EQ(read(R"({"type":"offer","sdp":"v=0\r\ns=a\/b \"c\" \u0041\t\\n\n"})", &description), STATUS_SUCCESS);
    EXPECT_STREQ(description.sdp, "v=0\r\ns=a\\/b \\\"c\\\" \\u0041\\t\\\\n\n");
}

TEST(SessionDescriptionJson, comesBackAsItWasWritten) {
    const std::string sdp = "v=0\r\ns=a name\r\na=mid:\xc3\xa9\r\n";
    RtcSessionDescriptionInit description{};
    ASSERT_EQ(read(write(makeDescription(SDP_TYPE_OFFER, sdp)), &description), STATUS_SUCCESS);
    EXPECT_EQ(description.sdp, sdp);
    EXPECT_EQ(description.type, SDP_TYPE_OFFER);
}

TEST(SessionDescriptionJson, needsRoomForTheTerminatorToo) {
    RtcSessionDescriptionInit description = makeDescription(SDP_TYPE_ANSWER, "v=0");
    const std::string expected = R"({"type": "answer", "sdp": "v=0"})";
    std::vector<CHAR> buffer(expected.size() + 1, 'x');

    auto length = static_cast<UINT32>(expected.size());
    EXPECT_EQ(serializeSessionDescriptionInit(&description, buffer.data(), &length), STATUS_BUFFER_TOO_SMALL);
    EXPECT_EQ(buffer[0], 'x');
    length++;
    EXPECT_EQ(serializeSessionDescriptionInit(&description, buffer.data(), &length), STATUS_SUCCESS);
    EXPECT_EQ(length, expected.size() + 1);
    EXPECT_EQ(buffer.data(), expected);
}

TEST(SessionDescriptionJson, isWrittenFromARecordWithoutATerminator) {
    RtcSessionDescriptionInit description{};
    description.type = SDP_TYPE_ANSWER;
    memset(description.sdp, 'a', sizeof(description.sdp));
    EXPECT_EQ(write(description).size(), sizeof(description.sdp) + strlen(R"({"type": "answer", "sdp": ""})"));
}

TEST(SessionDescriptionJson, needsAllItsArguments) {
    RtcSessionDescriptionInit description{};
    CHAR buffer[100] = "{}";
    UINT32 length = sizeof(buffer);
    EXPECT_EQ(deserializeSessionDescriptionInit(nullptr, 2, &description), STATUS_NULL_ARG);
    EXPECT_EQ(deserializeSessionDescriptionInit(buffer, 2, nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(serializeSessionDescriptionInit(nullptr, buffer, &length), STATUS_NULL_ARG);
    EXPECT_EQ(serializeSessionDescriptionInit(&description, nullptr, &length), STATUS_NULL_ARG);
    EXPECT_EQ(serializeSessionDescriptionInit(&description, buffer, nullptr), STATUS_NULL_ARG);
}

}  // namespace zelrtc::test
