#include "signalling/sdk_json.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

namespace zelrtc::camera {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

TEST(SdkJsonTest, AnOfferEscapesItsLineEndsAndNothingThatNeedsNoEscape) {
    EXPECT_EQ(offerJson("v=0\r\na=x/y\r\n"), R"({"sdp":"v=0\r\na=x/y\r\n","type":"offer"})");
}

TEST(SdkJsonTest, BytesThatAreNotUtf8MakeNoJsonThatCannotBeWritten) {
    EXPECT_THAT(offerJson("v=0\xff"), HasSubstr("v=0"));
}

TEST(SdkJsonTest, ACandidateComesWithItsSection) {
    const json candidate = json::parse(candidateJson({"candidate:1 1 udp 1 192.0.2.1 9 typ host", "video", 1}));
    EXPECT_EQ(candidate.at("candidate"), "candidate:1 1 udp 1 192.0.2.1 9 typ host");
    EXPECT_EQ(candidate.at("sdpMid"), "video");
    EXPECT_EQ(candidate.at("sdpMLineIndex"), 1);
}

TEST(SdkJsonTest, TakesTheSdpOutOfAnAnswer) {
    EXPECT_EQ(sdpOfAnswer(R"({"type": "answer", "sdp": "v=0\r\n"})"), "v=0\r\n");
    EXPECT_EQ(sdpOfAnswer("{}"), "");
    EXPECT_EQ(sdpOfAnswer("nothing"), "");
}

}  // namespace
}  // namespace zelrtc::camera
