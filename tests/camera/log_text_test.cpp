#include "events/log_text.h"

#include <gtest/gtest.h>

namespace zelrtc::camera {
namespace {

TEST(LogTextTest, FindsTheSessionInBothOfItsForms) {
    EXPECT_EQ(sessionNamedIn("handleOffer(): session 7, handleOffer done"), 7);
    EXPECT_EQ(sessionNamedIn("~ZelRtcSession(): session: 12, released"), 12);
}

TEST(LogTextTest, FindsNoSessionWhereNoneIsNamed) {
    EXPECT_EQ(sessionNamedIn("onIceCandidateHandler(): ice candidate gathering finished"), std::nullopt);
    EXPECT_EQ(sessionNamedIn("a session without number, then session x"), std::nullopt);
    EXPECT_EQ(sessionNamedIn(""), std::nullopt);
}

TEST(LogTextTest, FindsTheSessionAfterTheWordWasUsedOtherwise) {
    EXPECT_EQ(sessionNamedIn("log session of session 3"), 3);
}

TEST(LogTextTest, AViewersTextCannotNameAnotherSession) {
    EXPECT_EQ(sessionNamedIn(R"(SDK: offer {"sdp":"s=session 9"})"), std::nullopt);
}

TEST(LogTextTest, ControlCharactersDoNotReachTheLog) {
    EXPECT_EQ(oneLine("a\r\nforged line\x1b[2J\x7f"), "a??forged line?[2J?");
    EXPECT_EQ(oneLine("caf\xc3\xa9"), "caf\xc3\xa9");
}

}  // namespace
}  // namespace zelrtc::camera
