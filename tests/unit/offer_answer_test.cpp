// The offer on its way to the SDK, and the answer on its way back.
#include <algorithm>

#include "session_test.h"

namespace zelrtc::test {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class OfferAnswer : public SessionTest {
protected:
    /** The first `count` lines of handleOffer, in order. */
    static Lines handling(size_t count) {
        const Lines all = {
            line(2, "%s(): createPeerConnection took %.2fms, return 0x%x", "initializePeerConnection", 0.0, 0U),
            line(2, "%s(): session %d, handleOffer with: %s", "handleOffer", kSid, kOffer),
            line(3, "%s(): session %d, handleOffer done", "handleOffer", kSid),
            line(2, "%s(): time taken to create answer %.2fms", "handleOffer", 0.0),
            line(3, "%s(): session %d, create answer done", "handleOffer", kSid)};
        return Lines(all.begin(), all.begin() + static_cast<Lines::difference_type>(1 + count));
    }

    /** Fails the step: handleOffer logs that many of its lines and the failure, and there is no answer. */
    void expectFailure(SdkFunction step, const std::string& journalEntry, size_t lineCount) {
        for (const UINT32 status : kFailures) {
            SCOPED_TRACE(status);
            construct(trickleConfig());
            sdk.failAlways(step, status);

            EXPECT_EQ(session->init(kOffer), static_cast<int>(status));

            Lines expected = handling(lineCount);
            expected.push_back(statusLine("handleOffer", status));
            expected.push_back(line(5, "%s(): session: %d, init failed, destroy rtc connection", "init", kSid));
            expected.push_back(statusLine("init", status));
            EXPECT_EQ(lines(), expected);
            const Journal steps = events();
            ASSERT_GE(steps.size(), 3U);
            EXPECT_EQ(steps[steps.size() - 3].compare(0, journalEntry.size(), journalEntry), 0) << steps.back();
            EXPECT_EQ(steps[steps.size() - 2].compare(0, 19, "closePeerConnection"), 0);
            EXPECT_EQ(steps[steps.size() - 1].compare(0, 18, "freePeerConnection"), 0);
            sdk.succeedAgain();
        }
    }

    RtcSessionDescriptionInit descriptionOf(SdkFunction function) const {
        return sdk.onlyCall(function).as<RtcSessionDescriptionInit>();
    }
};

TEST_F(OfferAnswer, PassesTheOffersTextAndItsLengthWithoutTheTerminator) {
    for (const std::string& offer :
         {std::string(kOffer), std::string(), std::string("x"), std::string(100000, '%'), std::string("a\0b", 3)}) {
        construct(trickleConfig());
        EXPECT_EQ(session->init(offer), 0);
        const SdkCall call = sdk.onlyCall(SdkFunction::deserializeSessionDescriptionInit);
        EXPECT_EQ(call.text, offer);
        EXPECT_EQ(call.length, offer.size());
    }
}

TEST_F(OfferAnswer, LogsTheWholeOfferAsItStands) {
    for (const std::string& offer : {std::string(), std::string("%s%d%n"), std::string(30000, '%')}) {
        construct(trickleConfig());
        session->init(offer);
        EXPECT_EQ(lines()[1], line(2, "%s(): session %d, handleOffer with: %s", "handleOffer", kSid, offer.c_str()));
    }
}

TEST_F(OfferAnswer, ZeroesBothDescriptionsBeforeTheyAreFilled) {
    construct(trickleConfig());
    dirtyStack();
    session->init(kOffer);
    EXPECT_TRUE(sdk.onlyCall(SdkFunction::deserializeSessionDescriptionInit).recordIsZero());
    EXPECT_TRUE(sdk.onlyCall(SdkFunction::createAnswer).recordIsZero());
}

TEST_F(OfferAnswer, AppliesTheOfferAndItsOwnAnswerToTheSameConnection) {
    construct(trickleConfig());
    session->init(kOffer);
    for (const SdkFunction function :
         {SdkFunction::setRemoteDescription, SdkFunction::createAnswer, SdkFunction::setLocalDescription}) {
        EXPECT_EQ(sdk.onlyCall(function).object, &connection().sdk) << nameOf(function);
    }
    EXPECT_STREQ(descriptionOf(SdkFunction::setRemoteDescription).sdp, kOffer);
    EXPECT_EQ(descriptionOf(SdkFunction::setRemoteDescription).type, SDP_TYPE_OFFER);
    EXPECT_STREQ(descriptionOf(SdkFunction::setLocalDescription).sdp, "v=0 created answer");
    EXPECT_EQ(descriptionOf(SdkFunction::setLocalDescription).type, SDP_TYPE_ANSWER);
}

TEST_F(OfferAnswer, SerializesTheCreatedAnswerIntoTenKilobytes) {
    construct(trickleConfig());
    session->init(kOffer);
    EXPECT_STREQ(descriptionOf(SdkFunction::serializeSessionDescriptionInit).sdp, "v=0 created answer");
    EXPECT_EQ(descriptionOf(SdkFunction::serializeSessionDescriptionInit).type, SDP_TYPE_ANSWER);
    EXPECT_EQ(sdk.onlyCall(SdkFunction::serializeSessionDescriptionInit).length, 10240U);
    EXPECT_THAT(sdk.calls(SdkFunction::peerConnectionGetCurrentLocalDescription), IsEmpty());
}

TEST_F(OfferAnswer, GivesATrickleCallItsAnswerOnceOnTheCallersThreadBeforeInitReturns) {
    construct(trickleConfig());
    sdk.deliver.serializedJson = "as the SDK wrote it: 100%s";
    unsigned answers = 0;
    app.duringAnswer = [&answers] { ++answers; };
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_EQ(answers, 1U);
    EXPECT_EQ(app.lastThread, std::this_thread::get_id());
    EXPECT_EQ(journal().back(), "app 7 onAnswer as the SDK wrote it: 100%s");
}

TEST_F(OfferAnswer, WritesEveryLineInItsPlace) {
    construct(trickleConfig());
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_EQ(lines(), handling(4));
    Journal all = journal();
    all.erase(all.begin(), std::find(all.begin(), all.end(), "transceiverOnFrame pc1.audio") + 1);
    EXPECT_THAT(all, ::testing::ElementsAre(
                         std::string("log 2 handleOffer(): session 7, handleOffer with: ") + kOffer,
                         "deserializeSessionDescriptionInit", "setRemoteDescription pc1",
                         "log 3 handleOffer(): session 7, handleOffer done", "createAnswer pc1",
                         "setLocalDescription pc1", "log 2 handleOffer(): time taken to create answer 0.00ms",
                         "log 3 handleOffer(): session 7, create answer done", "serializeSessionDescriptionInit",
                         "app 7 onAnswer {\"type\": \"answer\", \"sdp\": \"v=0 created answer\"}"));
}

TEST_F(OfferAnswer, HoldsTheAnswerBackInACallThatDoesNotTrickle) {
    construct(completeAnswerConfig());
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_EQ(lines(), handling(4));
    EXPECT_EQ(events().back(), "setLocalDescription pc1");
}

TEST_F(OfferAnswer, HandsNothingOverWithoutACallback) {
    construct(trickleConfig(), nullptr);
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_EQ(lines(), handling(4));
    EXPECT_EQ(events().back(), "setLocalDescription pc1");
}

TEST_F(OfferAnswer, EndsWithAnOfferThatTheSdkCannotRead) {
    expectFailure(SdkFunction::deserializeSessionDescriptionInit, "deserializeSessionDescriptionInit", 1);
}

TEST_F(OfferAnswer, EndsWithAnOfferThatTheSdkCannotApply) {
    expectFailure(SdkFunction::setRemoteDescription, "setRemoteDescription", 1);
}

TEST_F(OfferAnswer, SaysThatTheOfferIsAppliedBeforeTheAnswerFails) {
    expectFailure(SdkFunction::createAnswer, "createAnswer", 2);
}

TEST_F(OfferAnswer, EndsWithAnAnswerThatTheSdkCannotApply) {
    expectFailure(SdkFunction::setLocalDescription, "setLocalDescription", 2);
}

TEST_F(OfferAnswer, EndsWithAnAnswerThatTheSdkCannotWrite) {
    expectFailure(SdkFunction::serializeSessionDescriptionInit, "serializeSessionDescriptionInit", 4);
}

TEST_F(OfferAnswer, DeliversAnAnswerOf10239Bytes) {
    construct(trickleConfig());
    sdk.deliver.serializedJson = std::string(10239, 'a');
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_EQ(journal().back(), "app 7 onAnswer " + std::string(10239, 'a'));
}

TEST_F(OfferAnswer, FailsWithAnAnswerThatDoesNotFit) {
    construct(trickleConfig());
    sdk.deliver.serializedJson = std::string(10240, 'a');
    EXPECT_EQ(session->init(kOffer), static_cast<int>(STATUS_BUFFER_TOO_SMALL));
    Lines expected = handling(4);
    expected.push_back(statusLine("handleOffer", STATUS_BUFFER_TOO_SMALL));
    expected.push_back(line(5, "%s(): session: %d, init failed, destroy rtc connection", "init", kSid));
    expected.push_back(statusLine("init", STATUS_BUFFER_TOO_SMALL));
    EXPECT_EQ(lines(), expected);
    EXPECT_EQ(events().back(), "freePeerConnection pc1");
}

TEST_F(OfferAnswer, ReadsTheAnswerUpToItsTerminator) {
    construct(trickleConfig());
    sdk.deliver.serializedJson = std::string("short\0ignored", 13);
    session->init(kOffer);
    EXPECT_EQ(journal().back(), "app 7 onAnswer short");
}

TEST_F(OfferAnswer, DeliversAnEmptyAnswerToo) {
    construct(trickleConfig());
    sdk.deliver.serializedJson = std::string(1, '\0');
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_EQ(journal().back(), "app 7 onAnswer ");
}

TEST_F(OfferAnswer, MeasuresFromTheOffersArrivalUntilTheLocalDescriptionIsSet) {
    construct(trickleConfig());
    const auto takes = [this](SdkFunction function, double ms) { sdk.during(function, [ms] { advanceTimeMs(ms); }); };
    takes(SdkFunction::createPeerConnection, 100);
    takes(SdkFunction::addSupportedCodec, 0.5);
    takes(SdkFunction::deserializeSessionDescriptionInit, 1);
    takes(SdkFunction::setRemoteDescription, 2);
    takes(SdkFunction::createAnswer, 4);
    takes(SdkFunction::setLocalDescription, 8);
    takes(SdkFunction::serializeSessionDescriptionInit, 1000);
    session->init(kOffer);
    EXPECT_EQ(lines()[3], line(2, "%s(): time taken to create answer %.2fms", "handleOffer", 116.0));
}

TEST_F(OfferAnswer, CarriesTheSessionsOwnIdEverywhere) {
    session.reset(new ZelRtcSession(-42, trickleConfig(), &app));
    sdk.forget();
    session->init("o");
    EXPECT_EQ(lines()[1], line(2, "%s(): session %d, handleOffer with: %s", "handleOffer", -42, "o"));
    EXPECT_EQ(lines()[2], line(3, "%s(): session %d, handleOffer done", "handleOffer", -42));
    EXPECT_EQ(lines()[4], line(3, "%s(): session %d, create answer done", "handleOffer", -42));
    EXPECT_EQ(journal().back(), "app -42 onAnswer {\"type\": \"answer\", \"sdp\": \"v=0 created answer\"}");
    EXPECT_THAT(lines(), SizeIs(5));
}

}  // namespace
}  // namespace zelrtc::test
