#include "text/written_answer.h"

#include <gtest/gtest.h>

#include "offer_text.h"
#include "text/engine_offer.h"

namespace zelrtc::test {

using hostsdk::AnswerPlan;
using hostsdk::LocalSide;
using hostsdk::SessionDescription;

namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

SessionDescription readText(const std::string& sdp) {
    std::string error;
    return hostsdk::parseDescription(sdp, &error).value();
}

std::string engineSection(const std::string& user, const std::string& source) {
    return "m=video 9 UDP/TLS/RTP/SAVPF 96\r\na=ice-ufrag:" + user +
           "\r\na=ice-pwd:pass\r\na=fingerprint:sha-256 AA\r\na=setup:active\r\na=ssrc:" + source +
           " msid:x y\r\na=ssrc:" + source + " cname:name\r\n";
}

// The engine answers two sections.
LocalSide localSide() {
    LocalSide local;
    local.sessionId = 123;
    local.engineAnswer = readText("v=0\r\n" + engineSection("own0", "11") + engineSection("own1", "22"));
    local.candidates = {{0, "candidate:1 1 UDP 5 192.0.2.2 40000 typ host"}};
    return local;
}

SessionDescription answerTo(const std::string& sdp, const LocalSide& local = localSide()) {
    return readText(writeAnswer(planFor(sdp), local));
}

std::string bundled(const std::string& more = "") {
    return session("a=group:BUNDLE 0 1\r\n") + video("0") + audio("1") + more;
}

}  // namespace

TEST(WrittenAnswer, hasASectionForEachOfTheOffer) {
    const SessionDescription answer = answerTo(bundled(data("2")));
    ASSERT_EQ(answer.sections.size(), 3U);
    EXPECT_EQ(answer.sections[0].kind, "video");
    EXPECT_EQ(answer.sections[0].port, 9);
    EXPECT_EQ(answer.sections[0].formats, (std::vector<std::string>{"96"}));
    EXPECT_EQ(answer.sections[0].attributes.value("ice-ufrag"), "own0");
    EXPECT_EQ(answer.sections[0].attributes.value("setup"), "active");
    EXPECT_TRUE(answer.sections[0].attributes.has("sendonly"));
    EXPECT_TRUE(answer.sections[0].attributes.has("rtcp-mux"));
    EXPECT_EQ(answer.sections[1].attributes.value("mid"), "1");
    EXPECT_EQ(answer.sections[2].kind, "application");
    EXPECT_EQ(answer.sections[2].port, 0);
    EXPECT_EQ(answer.sections[2].formats, (std::vector<std::string>{"webrtc-datachannel"}));
    EXPECT_EQ(answer.session.value("group"), "BUNDLE 0 1");
}

TEST(WrittenAnswer, keepsTheOffersProtocol) {
    std::string offer = session() + video("0");
    offer.replace(offer.find("UDP/TLS/RTP/SAVPF"), 17, "RTP/SAVPF");
    EXPECT_EQ(answerTo(offer).sections[0].protocol, "RTP/SAVPF");
}

TEST(WrittenAnswer, hasNoMidWhereTheOfferHasNone) {
    EXPECT_FALSE(answerTo(session() + video("")).sections[0].attributes.has("mid"));
}

TEST(WrittenAnswer, namesItsOwnSession) {
    EXPECT_TRUE(contains(writeAnswer(planFor(bundled()), localSide()), "o=- 123 1 IN IP4 0.0.0.0\r\n"));
}

TEST(WrittenAnswer, namesItsStreams) {
    const SessionDescription answer = answerTo(bundled());
    EXPECT_EQ(answer.sections[0].attributes.value("msid"), "stream picture");
    EXPECT_EQ(answer.sections[0].attributes.values("ssrc"),
              (std::vector<std::string>{"11 cname:name", "11 msid:stream picture"}));
    EXPECT_EQ(answer.sections[1].attributes.values("ssrc").at(0), "22 cname:name");
}

TEST(WrittenAnswer, namesStreamsInWordsThatFitALine) {
    AnswerPlan plan = planFor(session() + video("0"));
    plan.sections[0].streamId = "my stream\r\n";
    plan.sections[0].trackId = "";
    EXPECT_EQ(readText(writeAnswer(plan, localSide())).sections[0].attributes.value("msid"), "my_stream__ -");
}

TEST(WrittenAnswer, hasReducedReportsWhereTheyAreOffered) {
    EXPECT_FALSE(answerTo(bundled()).sections[0].attributes.has("rtcp-rsize"));
    EXPECT_TRUE(answerTo(session() + video("0") + "a=rtcp-rsize\r\n").sections[0].attributes.has("rtcp-rsize"));
}

TEST(WrittenAnswer, hasTheCandidatesWhereTheGroupStands) {
    const SessionDescription answer = answerTo(session("a=group:BUNDLE 1 0\r\n") + video("0") + audio("1"));
    EXPECT_FALSE(answer.sections[0].attributes.has("candidate"));
    EXPECT_EQ(answer.sections[1].attributes.values("candidate").size(), 1U);
}

TEST(WrittenAnswer, hasTheCandidatesOfEachTransport) {
    LocalSide local = localSide();
    local.candidates.push_back({1, "candidate:2 1 UDP 5 192.0.2.2 40001 typ host"});
    const SessionDescription answer = answerTo(session() + video("0") + audio("1"), local);
    EXPECT_EQ(answer.sections[0].attributes.values("candidate"),
              (std::vector<std::string>{"1 1 UDP 5 192.0.2.2 40000 typ host"}));
    EXPECT_EQ(answer.sections[1].attributes.values("candidate"),
              (std::vector<std::string>{"2 1 UDP 5 192.0.2.2 40001 typ host"}));
    EXPECT_EQ(answer.sections[1].attributes.value("ice-ufrag"), "own1");
}

TEST(WrittenAnswer, endsTheCandidatesWhenItHasThemAll) {
    LocalSide local = localSide();
    EXPECT_FALSE(answerTo(bundled(), local).sections[0].attributes.has("end-of-candidates"));
    local.hasAllCandidates = true;
    EXPECT_TRUE(answerTo(bundled(), local).sections[0].attributes.has("end-of-candidates"));
    EXPECT_FALSE(answerTo(bundled(), local).sections[1].attributes.has("end-of-candidates"));
}

TEST(WrittenAnswer, leavesASecondSectionInactiveOnTheSameTransport) {
    const SessionDescription answer =
        answerTo(session("a=group:BUNDLE 0 1 2\r\n") + video("0") + audio("1") + video("2"));
    EXPECT_EQ(answer.sections[2].port, 9);
    EXPECT_TRUE(answer.sections[2].attributes.has("inactive"));
    EXPECT_FALSE(answer.sections[2].attributes.has("msid"));
    EXPECT_EQ(answer.sections[2].attributes.value("ice-ufrag"), "own0");
    EXPECT_EQ(answer.session.value("group"), "BUNDLE 0 1 2");
}

TEST(EngineOffer, holdsWhatIsServedInOneGroup) {
    const std::string offer = session("a=group:BUNDLE 2 1 0\r\n") + audio("0", transport("user0")) + data("2") +
                              video("1", transport("user1") + "a=extmap:1 urn:x\r\na=rid:1 recv\r\n");
    const std::string text = engineOffer(planFor(offer));
    const SessionDescription engine = readText(text);
    ASSERT_EQ(engine.sections.size(), 2U);
    EXPECT_EQ(engine.session.value("group"), "BUNDLE 0 1");
    EXPECT_EQ(engine.sections[0].attributes.value("mid"), "0");
    EXPECT_EQ(engine.sections[1].attributes.value("mid"), "1");
    EXPECT_EQ(engine.sections[0].attributes.value("ice-ufrag"), "user1");
    EXPECT_EQ(engine.sections[1].attributes.value("ice-ufrag"), "user1");
    EXPECT_TRUE(engine.sections[0].attributes.has("sendrecv"));
    EXPECT_TRUE(engine.sections[1].attributes.has("recvonly"));
    EXPECT_FALSE(contains(text, "extmap"));
    EXPECT_FALSE(contains(text, "rid"));
}

TEST(EngineOffer, hasNoGroupForTransportsOfTheirOwn) {
    const SessionDescription engine =
        readText(engineOffer(planFor(session() + video("0", transport("user0")) + audio("1", transport("user1")))));
    EXPECT_FALSE(engine.session.has("group"));
    EXPECT_EQ(engine.sections[0].attributes.value("ice-ufrag"), "user0");
    EXPECT_EQ(engine.sections[1].attributes.value("ice-ufrag"), "user1");
}

TEST(EngineOffer, hasUsableCandidatesOnce) {
    const std::string candidate = "a=candidate:1 1 udp 1 192.0.2.2 9 typ host\r\n";
    const SessionDescription engine =
        readText(engineOffer(planFor(session("a=group:BUNDLE 0 1\r\n") + video("0", transport() + candidate) +
                                     audio("1", transport() + candidate))));
    EXPECT_EQ(engine.sections[0].attributes.values("candidate").size(), 1U);
    EXPECT_FALSE(engine.sections[1].attributes.has("candidate"));
}

TEST(EngineOffer, namesTheFarEndsSourceOfWhatIsReceived) {
    const SessionDescription engine =
        readText(engineOffer(planFor(bundled("a=ssrc:77 cname:a b\r\na=ssrc:78 cname:c\r\n"))));
    EXPECT_EQ(engine.sections[1].attributes.values("ssrc"), (std::vector<std::string>{"77 cname:viewer"}));
    EXPECT_FALSE(contains(engineOffer(planFor(bundled("a=ssrc:nonsense\r\n"))), "a=ssrc"));
    EXPECT_FALSE(contains(engineOffer(planFor(session() + video("0") + "a=ssrc:77 cname:a\r\n")), "a=ssrc"));
}

TEST(EngineOffer, tellsOfAFarEndThatOnlyAnswersChecks) {
    EXPECT_TRUE(contains(engineOffer(planFor(session("a=ice-lite\r\n") + video("0"))), "a=ice-lite\r\n"));
    EXPECT_FALSE(contains(engineOffer(planFor(session() + video("0"))), "a=ice-lite"));
}

}  // namespace zelrtc::test
