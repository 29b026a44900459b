#include "text/answer_plan.h"

#include <gtest/gtest.h>

#include "offer_text.h"

namespace zelrtc::test {

using hostsdk::AnswerPlan;
using hostsdk::Outcome;

namespace {

using Indexes = std::vector<size_t>;
using Groups = std::vector<Indexes>;

std::string withPort0(std::string section) {
    return section.replace(section.find(" 9 "), 3, " 0 ");
}

std::string without(std::string text, const std::string& part) {
    return text.replace(text.find(part), part.size(), "");
}

std::vector<Outcome> outcomes(const AnswerPlan& plan) {
    std::vector<Outcome> all;
    for (const auto& planned : plan.sections) {
        all.push_back(planned.outcome);
    }
    return all;
}

std::vector<std::string> users(const AnswerPlan& plan) {
    std::vector<std::string> all;
    for (const auto& transport : plan.transports) {
        all.push_back(transport.user);
    }
    return all;
}

}  // namespace

TEST(Plan, bundlesWhatTheOfferBundles) {
    const AnswerPlan plan = planFor(session("a=group:BUNDLE 0 1\r\n") + video("0") + audio("1"));
    EXPECT_EQ(plan.served, (Indexes{0, 1}));
    EXPECT_EQ(plan.groups, (Groups{{0, 1}}));
    EXPECT_TRUE(plan.isBundled());
}

TEST(Plan, bundlesNothingThatTheOfferDoesNot) {
    const AnswerPlan plan = planFor(session() + video("0", transport("user0")) + audio("1", transport("user1")));
    EXPECT_TRUE(plan.groups.empty());
    EXPECT_FALSE(plan.isBundled());
    EXPECT_EQ(users(plan), (std::vector<std::string>{"user0", "user1"}));
}

TEST(Plan, keepsSectionsOutsideOfAGroupOutside) {
    const AnswerPlan plan = planFor(session("a=group:BUNDLE 0\r\n") + video("0") + audio("1"));
    EXPECT_EQ(plan.groups, (Groups{{0}}));
    EXPECT_FALSE(plan.isBundled());
}

TEST(Plan, keepsTwoGroupsApart) {
    const AnswerPlan plan =
        planFor(session("a=group:BUNDLE 0 2\r\na=group:BUNDLE 1\r\n") + video("0") + audio("1") + data("2"));
    EXPECT_EQ(plan.groups, (Groups{{0}, {1}}));
    EXPECT_FALSE(plan.isBundled());
}

TEST(Plan, takesTheTransportOfTheFirstInTheGroup) {
    const AnswerPlan plan =
        planFor(session("a=group:BUNDLE 1 0\r\n") + video("0", transport("user0")) + audio("1", transport("user1")));
    EXPECT_EQ(plan.groups, (Groups{{1, 0}}));
    EXPECT_EQ(users(plan), (std::vector<std::string>{"user1"}));
    EXPECT_EQ(plan.transports[0].section, 1U);
}

TEST(Plan, servesASectionThatOnlyGoesWithItsGroup) {
    const std::string bundled = withPort0(audio("1", "a=bundle-only\r\n"));
    const AnswerPlan plan = planFor(session("a=group:BUNDLE 1 0\r\n") + video("0") + bundled);
    EXPECT_EQ(plan.served, (Indexes{0, 1}));
    EXPECT_EQ(plan.groups, (Groups{{0, 1}}));
    EXPECT_EQ(users(plan), (std::vector<std::string>{"vwVw"}));
}

TEST(Plan, rejectsASectionThatOnlyGoesWithItsGroupAndHasNone) {
    const AnswerPlan plan = planFor(session() + video("0") + withPort0(audio("1", transport() + "a=bundle-only\r\n")));
    EXPECT_EQ(plan.served, (Indexes{0}));
}

TEST(Plan, leavesRejectedSectionsRejectedAndOutOfTheGroup) {
    const AnswerPlan plan = planFor(session("a=group:BUNDLE 0 1\r\n") + video("0") + withPort0(audio("1", "")));
    EXPECT_EQ(outcomes(plan), (std::vector<Outcome>{Outcome::kServed, Outcome::kRejected}));
    EXPECT_EQ(plan.sections[1].reason, "the offer rejects it");
    EXPECT_EQ(plan.groups, (Groups{{0}}));
}

TEST(Plan, rejectsWhatNothingServes) {
    const AnswerPlan plan = planFor(session("a=group:BUNDLE 2 0 1\r\n") + data("2") + video("0") + audio("1"));
    EXPECT_EQ(outcomes(plan), (std::vector<Outcome>{Outcome::kRejected, Outcome::kServed, Outcome::kServed}));
    EXPECT_EQ(plan.groups, (Groups{{1, 2}}));
}

TEST(Plan, leavesASecondSectionOfAKindIdleOnTheSameTransport) {
    const AnswerPlan plan =
        planFor(session("a=group:BUNDLE 0 1 2\r\n") + video("0") + audio("1") + audio("2", transport("user2")));
    EXPECT_EQ(outcomes(plan), (std::vector<Outcome>{Outcome::kServed, Outcome::kServed, Outcome::kIdle}));
    EXPECT_EQ(plan.sections[2].direction, RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE);
    EXPECT_EQ(plan.groups, (Groups{{0, 1, 2}}));
    EXPECT_EQ(plan.transports.size(), 1U);
}

TEST(Plan, rejectsASecondSectionOfAKindThatHasItsOwnTransport) {
    const AnswerPlan plan = planFor(session("a=group:BUNDLE 0 1\r\n") + video("0") + audio("1") + audio("2"));
    EXPECT_EQ(plan.sections[2].outcome, Outcome::kRejected);
}

TEST(Plan, servesTheFirstSectionThatHasACommonCodec) {
    std::string other = video("0");
    other.replace(other.find("H264"), 4, "VP8");
    const AnswerPlan plan = planFor(session("a=group:BUNDLE 0 1\r\n") + other + video("1"));
    EXPECT_EQ(outcomes(plan), (std::vector<Outcome>{Outcome::kRejected, Outcome::kServed}));
    EXPECT_EQ(plan.sections[0].reason, "it has no H.264");
}

TEST(Plan, takesWhatStandsAtTheSession) {
    const AnswerPlan plan = planFor(session("a=recvonly\r\na=setup:passive\r\na=fingerprint:sha-256 01:02\r\n") +
                                    "m=audio 9 RTP/SAVPF 0\r\na=ice-ufrag:user\r\n"
                                    "a=ice-pwd:9zYn8aPq3dRk7LmT2xWc5vBh\r\na=rtcp-mux\r\n");
    EXPECT_EQ(plan.transports[0].setup, "passive");
    EXPECT_EQ(plan.transports[0].fingerprint, "sha-256 01:02");
    EXPECT_EQ(plan.sections[0].direction, RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY);
}

TEST(Plan, takesAFarEndWithoutARoleForActive) {
    EXPECT_EQ(planFor(session() + video("0", without(transport(), "a=setup:actpass\r\n"))).transports[0].setup,
              "active");
}

TEST(Plan, takesTheFingerprintThatEveryoneCanCheck) {
    const AnswerPlan plan = planFor(session() + video("0", "a=fingerprint:sha-1 4A:AD\r\n" + transport()));
    EXPECT_EQ(plan.transports[0].fingerprint, "sha-256 7B:8D:F0:65");
}

TEST(Plan, takesTheFirstOfTwoPasswords) {
    const AnswerPlan plan = planFor(session() + video("0", transport() + "a=ice-pwd:anotherPasswordOf24Chars\r\n"));
    EXPECT_EQ(plan.transports[0].password, "9zYn8aPq3dRk7LmT2xWc5vBh");
}

TEST(Plan, takesCandidatesThatCanBeUsed) {
    const AnswerPlan plan =
        planFor(session() + video("0", transport() + "a=candidate:1 1 udp 1 192.0.2.2 9 typ host\r\n"
                                                     "a=candidate:2 1 udp 1 name.local 9 typ host\r\n"
                                                     "a=candidate:3 1 tcp 1 192.0.2.2 9 typ host tcptype active\r\n"));
    EXPECT_EQ(plan.transports[0].candidates, (std::vector<std::string>{"candidate:1 1 udp 1 192.0.2.2 9 typ host"}));
}

TEST(Plan, answersFeedbackThatWasOffered) {
    const AnswerPlan plan = planFor(session() + video("0") +
                                    "a=rtcp-fb:96 nack \r\na=rtcp-fb:* ccm fir\r\na=rtcp-fb:97 nack pli\r\n"
                                    "a=rtcp-fb:96 transport-cc\r\n");
    EXPECT_EQ(plan.sections[0].feedback, (std::vector<std::string>{"nack", "ccm fir"}));
}

TEST(PlanError, saysWhatTheTransportLacks) {
    const std::string name = "m=video in line 5: ";
    EXPECT_EQ(errorOf(session() + video("0", without(transport(), "a=ice-ufrag:vwVw\r\n"))),
              name + "a=ice-ufrag is missing or is not 4 to 256 letters and digits");
    EXPECT_EQ(errorOf(session() + video("0", transport("abc"))),
              name + "a=ice-ufrag is missing or is not 4 to 256 letters and digits");
    EXPECT_EQ(errorOf(session() + video("0", without(transport(), "9zYn"))),
              name + "a=ice-pwd is missing or is not 22 to 256 letters and digits");
    for (const char* const part : {"a=fingerprint:sha-256 7B:8D:F0:65\r\n", "sha-256", "F0", "5\r\na=setup:actpass"}) {
        EXPECT_EQ(errorOf(session() + video("0", without(transport(), part))),
                  name + "a=fingerprint is missing or is not a hash function and pairs of digits")
            << part;
    }
    EXPECT_EQ(errorOf(session() + video("0", "a=setup:holdconn\r\n" + transport())),
              name + "a=setup is none of actpass, active and passive");
}

TEST(PlanError, saysWhichMidIsNone) {
    EXPECT_EQ(errorOf(session() + video("0") + audio("0")), "m=audio in line 15: another section has the same a=mid");
    EXPECT_EQ(errorOf(session() + video("0 1")), "m=video in line 5: a=mid is not one word");
}

TEST(PlanError, saysWhyNothingIsServed) {
    EXPECT_EQ(
        errorOf(session() + data("0") + withPort0(video("1"))),
        "no section can be served; m=application in line 5: nothing here serves it; m=video in line 13: the offer "
        "rejects it");
    EXPECT_EQ(errorOf(session() + video("0", without(transport(), "a=rtcp-mux\r\n"))),
              "no section can be served; m=video in line 5: it has no a=rtcp-mux, and RTP and RTCP share a port here");
}

}  // namespace zelrtc::test
