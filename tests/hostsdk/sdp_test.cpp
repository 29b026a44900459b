#include <gtest/gtest.h>

#include "text/session_description.h"

namespace zelrtc::test {

using hostsdk::parseDescription;
using hostsdk::SessionDescription;

namespace {

std::string errorIn(const std::string& sdp) {
    std::string error;
    EXPECT_FALSE(parseDescription(sdp, &error)) << sdp;
    return error;
}

SessionDescription read(const std::string& sdp) {
    std::string error;
    return parseDescription(sdp, &error).value();
}

}  // namespace

TEST(Sdp, isReadIntoItsSections) {
    const SessionDescription description = read(
        "v=0\r\na=group:BUNDLE 0 v\r\nm=audio 0 RTP/SAVPF 0 8\r\na=mid:0\r\na=rtcp-mux\r\nm=video 9/2 RTP/SAVPF 96\r\n"
        "a=mid:v\r\n");
    EXPECT_EQ(description.session.value("group"), "BUNDLE 0 v");
    ASSERT_EQ(description.sections.size(), 2U);
    EXPECT_EQ(description.sections[0].kind, "audio");
    EXPECT_EQ(description.sections[0].port, 0);
    EXPECT_EQ(description.sections[0].formats, (std::vector<std::string>{"0", "8"}));
    EXPECT_EQ(description.sections[0].attributes.value("rtcp-mux"), "");
    EXPECT_FALSE(description.sections[0].attributes.has("setup"));
    EXPECT_EQ(description.sections[1].port, 9);
    EXPECT_EQ(description.sections[1].protocol, "RTP/SAVPF");
    EXPECT_EQ(description.sections[1].name(), "m=video in line 6");
}

TEST(Sdp, mayEndItsLinesWithLineFeedsAndBlanks) {
    const SessionDescription description = read("v=0\n\nm=video 9 RTP/SAVPF 96\na=rtcp-fb:96 nack \n\n");
    EXPECT_EQ(description.sections[0].attributes.value("rtcp-fb"), "96 nack");
}

TEST(Sdp, hasOwnAndInheritedAttributes) {
    const SessionDescription description =
        read("v=0\na=setup:passive\na=fingerprint:a\nm=video 9 RTP/SAVPF 96\na=setup:active\n");
    EXPECT_EQ(description.inherited(description.sections[0], "setup"), "active");
    EXPECT_EQ(description.inherited(description.sections[0], "fingerprint"), "a");
    EXPECT_EQ(description.inherited(description.sections[0], "mid"), std::nullopt);
}

TEST(SdpError, namesTheLineAndWhatIsWrong) {
    EXPECT_EQ(errorIn(""), "it has no m-line");
    EXPECT_EQ(errorIn("v=0\r\ns=-\r\n"), "it has no m-line");
    EXPECT_EQ(errorIn("rubbish\r\nm=video 9 RTP 96\r\n"), "line 1, \"rubbish\": it does not begin with v=0");
    EXPECT_EQ(errorIn("v=0\r\nnonsense\r\n"), "line 2, \"nonsense\": it is not a letter, an equals sign and a value");
    EXPECT_EQ(errorIn("v=0\r\nm=audio 9 RTP/SAVPF\r\n"),
              "line 2, \"m=audio 9 RTP/SAVPF\": an m-line has four fields: medium, port, protocol and formats");
    EXPECT_EQ(errorIn("v=0\r\nm=audio 65536 RTP/SAVPF 0\r\n"),
              "line 2, \"m=audio 65536 RTP/SAVPF 0\": its port is not a number up to 65535");
    EXPECT_EQ(errorIn("v=0\r\nm=audio -1 RTP/SAVPF 0\r\n"),
              "line 2, \"m=audio -1 RTP/SAVPF 0\": its port is not a number up to 65535");
    EXPECT_EQ(errorIn("v=0\r\na=:x\r\n"), "line 2, \"a=:x\": the attribute has no name");
    EXPECT_EQ(errorIn("v=0\r\na=tool:\x01\r\n"), "line 2, \"a=tool:?\": a control character stands in it");
}

TEST(SdpError, quotesNoMoreThanTheBeginningOfALine) {
    EXPECT_EQ(errorIn("v=0\r\n" + std::string(100, 'x') + "\r\n"),
              "line 2, \"" + std::string(40, 'x') + "...\": it is not a letter, an equals sign and a value");
}

TEST(SdpError, isAlsoTooManySections) {
    std::string sdp = "v=0\r\n";
    for (int i = 0; i < 65; i++) {
        sdp += "m=audio 0 RTP/SAVPF 0\r\n";
    }
    EXPECT_EQ(errorIn(sdp), "line 66, \"m=audio 0 RTP/SAVPF 0\": it is one m-line too many");
}

}  // namespace zelrtc::test
