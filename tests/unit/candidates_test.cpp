// Candidates in both directions, and the complete answer at the end of gathering.
#include "session_test.h"

namespace zelrtc::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char* const kCandidate = "{\"candidate\":\"candidate:1 1 udp %s%d\",\"sdpMid\":\"0\",\"sdpMLineIndex\":0}";
const char* const kCompleteAnswer = "app 7 onAnswer {\"type\": \"answer\", \"sdp\": \"v=0 current local description\"}";

class Candidates : public SessionTest {
protected:
    void watchTerminated() {
        sdk.watchFlag(&member(*session, terminated_Tag()), "terminated_");
    }

    static LogLine finished() {
        return line(3, "%s(): ice candidate gathering finished", "onIceCandidateHandler");
    }
};

using LocalCandidates = Candidates;
using GatheringEnd = Candidates;
using RemoteCandidates = Candidates;

TEST_F(LocalCandidates, ReachTheApplicationOneByOneUnchanged) {
    negotiate(trickleConfig());
    connection().fireCandidate(kCandidate);
    connection().fireCandidate("");
    EXPECT_EQ(lines(),
              (Lines{line(3, "%s(): session %d, got new candidate: %s", "onIceCandidateHandler", kSid, kCandidate),
                     line(3, "%s(): session %d, got new candidate: %s", "onIceCandidateHandler", kSid, "")}));
    EXPECT_THAT(journal(),
                ElementsAre("log 3 onIceCandidateHandler(): session 7, got new candidate: " + std::string(kCandidate),
                            "app 7 onIceCandidate " + std::string(kCandidate),
                            "log 3 onIceCandidateHandler(): session 7, got new candidate: ", "app 7 onIceCandidate "));
}

TEST_F(LocalCandidates, MayBeOfAnyLength) {
    negotiate(trickleConfig());
    const std::string longCandidate(70000, 'c');
    connection().fireCandidate(longCandidate);
    EXPECT_EQ(journal().back(), "app 7 onIceCandidate " + longCandidate);
}

TEST_F(LocalCandidates, AreNeitherForwardedNorLoggedInACallThatDoesNotTrickle) {
    negotiate(completeAnswerConfig());
    connection().fireCandidate(kCandidate);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(LocalCandidates, AreNotLoggedWithoutACallback) {
    for (const ZelRtcSessionConfig& config : {trickleConfig(), completeAnswerConfig()}) {
        negotiate(config, nullptr);
        connection().fireCandidate(kCandidate);
        EXPECT_THAT(journal(), IsEmpty());
    }
}

TEST_F(LocalCandidates, TrickleInAnAlexaCallWhateverItsFlagSays) {
    negotiate(alexaConfig());
    connection().fireCandidate("c");
    EXPECT_EQ(journal().back(), "app 7 onIceCandidate c");
}

TEST_F(LocalCandidates, AreIgnoredAfterTheEndOfTheCall) {
    for (const ZelRtcSessionConfig& config : {trickleConfig(), completeAnswerConfig()}) {
        negotiate(config);
        session->teminate();
        sdk.forget();
        connection().fireCandidate(kCandidate);
        connection().fireGatheringEnd();
        EXPECT_THAT(journal(), IsEmpty());
    }
}

TEST_F(LocalCandidates, LookAtTheEndOfTheCallOnceAndFirst) {
    negotiate(trickleConfig());
    watchTerminated();
    connection().fireCandidate("c");
    EXPECT_THAT(journal(),
                ElementsAre("load terminated_", "log 3 onIceCandidateHandler(): session 7, got new candidate: c",
                            "app 7 onIceCandidate c"));
}

TEST_F(LocalCandidates, ArriveOnTheSdksThread) {
    negotiate(trickleConfig());
    std::thread::id sdkThread;
    onAnotherThread([&] {
        sdkThread = std::this_thread::get_id();
        connection().fireCandidate("c");
    });
    EXPECT_EQ(app.lastThread, sdkThread);
}

TEST_F(LocalCandidates, MayArriveBeforeInitReturns) {
    construct(trickleConfig());
    sdk.during(SdkFunction::setLocalDescription,
               [this] { onAnotherThread([this] { connection().fireCandidate("early"); }); });
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_THAT(journal(), ::testing::Contains("app 7 onIceCandidate early"));
    EXPECT_EQ(journal().back(), "app 7 onAnswer {\"type\": \"answer\", \"sdp\": \"v=0 created answer\"}");
}

TEST_F(GatheringEnd, DeliversTheCurrentLocalDescriptionAsTheAnswer) {
    negotiate(completeAnswerConfig());
    connection().fireCandidate(kCandidate);
    connection().fireGatheringEnd();
    EXPECT_THAT(journal(), ElementsAre("log 3 onIceCandidateHandler(): ice candidate gathering finished",
                                       "peerConnectionGetCurrentLocalDescription pc1",
                                       "serializeSessionDescriptionInit", kCompleteAnswer));
    EXPECT_EQ(lines(), Lines{finished()});
}

TEST_F(GatheringEnd, FetchesTheDescriptionInATrickleCallTooAndDropsIt) {
    negotiate(trickleConfig());
    connection().fireGatheringEnd();
    EXPECT_THAT(journal(),
                ElementsAre("log 3 onIceCandidateHandler(): ice candidate gathering finished",
                            "peerConnectionGetCurrentLocalDescription pc1", "serializeSessionDescriptionInit"));
}

TEST_F(GatheringEnd, TellsNobodyWithoutACallback) {
    for (const ZelRtcSessionConfig& config : {trickleConfig(), completeAnswerConfig()}) {
        negotiate(config, nullptr);
        connection().fireGatheringEnd();
        EXPECT_EQ(lines(), Lines{finished()});
        EXPECT_EQ(events().size(), 2U);
        EXPECT_EQ(events().back(), "serializeSessionDescriptionInit");
    }
}

TEST_F(GatheringEnd, ZeroesTheDescriptionAndOffersTenKilobytes) {
    negotiate(completeAnswerConfig());
    dirtyStack();
    connection().fireGatheringEnd();
    EXPECT_TRUE(sdk.onlyCall(SdkFunction::peerConnectionGetCurrentLocalDescription).recordIsZero());
    const SdkCall call = sdk.onlyCall(SdkFunction::serializeSessionDescriptionInit);
    EXPECT_EQ(call.length, 10240U);
    EXPECT_STREQ(call.as<RtcSessionDescriptionInit>().sdp, "v=0 current local description");
}

TEST_F(GatheringEnd, LogsAFailureOfEitherStepInBothKindsOfCallAndDeliversNothing) {
    for (const ZelRtcSessionConfig& config : {trickleConfig(), completeAnswerConfig()}) {
        for (const UINT32 status : kFailures) {
            negotiate(config);
            sdk.failAlways(SdkFunction::peerConnectionGetCurrentLocalDescription, status);
            connection().fireGatheringEnd();
            EXPECT_EQ(lines(), (Lines{finished(), statusLine("onIceCandidateHandler", status)}));
            EXPECT_EQ(events().size(), 1U);

            sdk.succeedAgain();
            sdk.forget();
            sdk.failAlways(SdkFunction::serializeSessionDescriptionInit, status);
            connection().fireGatheringEnd();
            EXPECT_EQ(lines(), (Lines{finished(), statusLine("onIceCandidateHandler", status)}));
            EXPECT_EQ(events().size(), 2U);
            sdk.succeedAgain();
        }
    }
}

TEST_F(GatheringEnd, ReadsNoAnswerThatTheSdkHasNotWritten) {
    negotiate(completeAnswerConfig());
    sdk.failAlways(SdkFunction::serializeSessionDescriptionInit, STATUS_BUFFER_TOO_SMALL);

    dirtyStack();
    const AllocationCount allocations;
    connection().fireGatheringEnd();

    EXPECT_EQ(allocations.made(), 0U) << "copied what the buffer happened to hold";
}

TEST_F(GatheringEnd, LeavesTheCallUsableAfterAFailure) {
    negotiate(completeAnswerConfig());
    const Members before(*session);
    sdk.failNth(SdkFunction::peerConnectionGetCurrentLocalDescription, 1, 0x5e000001);
    connection().fireGatheringEnd();
    EXPECT_EQ(Members(*session), before);
    connection().fireGatheringEnd();
    EXPECT_EQ(journal().back(), kCompleteAnswer);
}

TEST_F(GatheringEnd, DeliversAnAnswerOf10239BytesAndRefusesALongerOne) {
    negotiate(completeAnswerConfig());
    sdk.deliver.serializedJson = std::string(10239, 'a');
    connection().fireGatheringEnd();
    EXPECT_EQ(journal().back(), "app 7 onAnswer " + std::string(10239, 'a'));

    sdk.forget();
    sdk.deliver.serializedJson = std::string(10240, 'a');
    connection().fireGatheringEnd();
    EXPECT_EQ(lines(), (Lines{finished(), statusLine("onIceCandidateHandler", STATUS_BUFFER_TOO_SMALL)}));
    EXPECT_EQ(events().back(), "serializeSessionDescriptionInit");
}

TEST_F(GatheringEnd, ReadsTheAnswerUpToItsTerminator) {
    negotiate(completeAnswerConfig());
    sdk.deliver.serializedJson = std::string("short\0ignored", 13);
    connection().fireGatheringEnd();
    EXPECT_EQ(journal().back(), "app 7 onAnswer short");
}

TEST_F(GatheringEnd, LooksAtTheEndOfTheCallOnceAndFirst) {
    negotiate(completeAnswerConfig());
    watchTerminated();
    connection().fireGatheringEnd();
    EXPECT_EQ(journal().front(), "load terminated_");
    EXPECT_EQ(journal().size(), 5U);
}

TEST_F(GatheringEnd, LosesNoAnswerWhenItComesBeforeInitReturnsOnTheCallersThread) {
    construct(completeAnswerConfig());
    sdk.during(SdkFunction::setLocalDescription, [this] { connection().fireGatheringEnd(); });
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_THAT(journal(), ::testing::Contains("peerConnectionGetCurrentLocalDescription pc1"));
    EXPECT_THAT(journal(), ::testing::Contains(kCompleteAnswer));
}

TEST_F(GatheringEnd, LosesNoAnswerWhenItComesBeforeInitReturnsOnAThreadOfTheSdk) {
    construct(completeAnswerConfig());
    sdk.during(SdkFunction::setLocalDescription,
               [this] { onAnotherThread([this] { connection().fireGatheringEnd(); }); });
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_THAT(journal(), ::testing::Contains(kCompleteAnswer));
}

TEST_F(RemoteCandidates, ReachTheSdkAsTheLineItExtracted) {
    negotiate(trickleConfig());
    EXPECT_EQ(session->addRemoteCandidate(kCandidate), 0);
    EXPECT_THAT(journal(), ElementsAre("deserializeRtcIceCandidateInit",
                                       "addIceCandidate pc1 candidate:1 1 udp 2130706431 192.0.2.2 45020 typ host"));
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_EQ(sdk.onlyCall(SdkFunction::addIceCandidate).object, &connection().sdk);
}

TEST_F(RemoteCandidates, AreReadWithTheirLengthWithoutTheTerminator) {
    negotiate(trickleConfig());
    for (const std::string& text : {std::string(kCandidate), std::string(), std::string("a\0b", 3)}) {
        sdk.forget();
        EXPECT_EQ(session->addRemoteCandidate(text), 0);
        const SdkCall call = sdk.onlyCall(SdkFunction::deserializeRtcIceCandidateInit);
        EXPECT_EQ(call.text, text);
        EXPECT_EQ(call.length, text.size());
    }
}

TEST_F(RemoteCandidates, AreReadIntoARecordThatIsZero) {
    negotiate(trickleConfig());
    dirtyStack();
    session->addRemoteCandidate(kCandidate);
    EXPECT_TRUE(sdk.onlyCall(SdkFunction::deserializeRtcIceCandidateInit).recordIsZero());
}

TEST_F(RemoteCandidates, GoNoFurtherWhenTheSdkCannotReadThem) {
    negotiate(trickleConfig());
    for (const UINT32 status : kFailures) {
        sdk.succeedAgain();
        sdk.failAlways(SdkFunction::deserializeRtcIceCandidateInit, status);
        sdk.forget();
        EXPECT_EQ(session->addRemoteCandidate("no candidate"), static_cast<int>(status));
        EXPECT_EQ(lines(), Lines{statusLine("addRemoteCandidate", status)});
        EXPECT_EQ(events().size(), 1U);
    }
}

TEST_F(RemoteCandidates, ReturnTheStatusOfTheSdksRefusal) {
    negotiate(trickleConfig());
    for (const UINT32 status : kFailures) {
        sdk.succeedAgain();
        sdk.failAlways(SdkFunction::addIceCandidate, status);
        sdk.forget();
        EXPECT_EQ(session->addRemoteCandidate(kCandidate), static_cast<int>(status));
        EXPECT_EQ(lines(), Lines{statusLine("addRemoteCandidate", status)});
        EXPECT_EQ(events().size(), 2U);
    }
}

TEST_F(RemoteCandidates, MayBe10240BytesOfText) {
    negotiate(trickleConfig());
    EXPECT_EQ(session->addRemoteCandidate(std::string(10240, 'c')), 0);
    EXPECT_EQ(events().size(), 2U);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(RemoteCandidates, AreRefusedUnseenWhenTheirTextIsLonger) {
    negotiate(trickleConfig());
    for (const size_t size : {10241U, 20000U, 1000000U}) {
        sdk.forget();
        EXPECT_EQ(session->addRemoteCandidate(std::string(size, 'c')), 2);
        EXPECT_THAT(events(), IsEmpty());
        EXPECT_EQ(lines(), Lines{statusLine("addRemoteCandidate", 0x00000002)});
    }
}

TEST_F(RemoteCandidates, MayHaveALineOf255Characters) {
    negotiate(trickleConfig());
    sdk.deliver.candidateLine = std::string(255, 'c');
    EXPECT_EQ(session->addRemoteCandidate(kCandidate), 0);
    EXPECT_EQ(sdk.onlyCall(SdkFunction::addIceCandidate).text, std::string(255, 'c'));
}

// The SDK leaves such a line without a terminator, or writes it past the end of its record.
TEST_F(RemoteCandidates, AreRefusedWhenTheirLineHasNoRoomForATerminator) {
    negotiate(trickleConfig());
    for (const size_t size : {256U, 257U, 300U, 10240U, 10256U}) {
        sdk.forget();
        dirtyStack();
        sdk.deliver.candidateLine = std::string(size, 'c');
        EXPECT_EQ(session->addRemoteCandidate(kCandidate), 2);
        EXPECT_THAT(events(), ElementsAre("deserializeRtcIceCandidateInit"));
        EXPECT_EQ(lines(), Lines{statusLine("addRemoteCandidate", 0x00000002)});
    }
}

TEST_F(RemoteCandidates, MayHaveAnEmptyLine) {
    negotiate(trickleConfig());
    dirtyStack();
    sdk.deliver.candidateLine = "";
    EXPECT_EQ(session->addRemoteCandidate(kCandidate), 0);
    EXPECT_EQ(sdk.onlyCall(SdkFunction::addIceCandidate).text, "");
}

TEST_F(RemoteCandidates, AreStillTakenAfterARefusedOne) {
    negotiate(trickleConfig());
    const Members before(*session);
    session->addRemoteCandidate(std::string(10241, 'c'));
    EXPECT_EQ(Members(*session), before);
    EXPECT_EQ(session->addRemoteCandidate(kCandidate), 0);
}

TEST_F(RemoteCandidates, AreTakenAfterTheEndOfTheCallToo) {
    negotiate(trickleConfig());
    session->teminate();
    EXPECT_EQ(session->addRemoteCandidate(kCandidate), 0);
    EXPECT_EQ(sdk.calls(SdkFunction::addIceCandidate).size(), 1U);
}

TEST_F(RemoteCandidates, GetTheSdksStatusBeforeInit) {
    construct(trickleConfig());
    EXPECT_EQ(session->addRemoteCandidate(kCandidate), static_cast<int>(STATUS_NULL_ARG));
    EXPECT_EQ(lines(), Lines{statusLine("addRemoteCandidate", STATUS_NULL_ARG)});
}

TEST_F(RemoteCandidates, MayBeAddedFromInsideACallback) {
    negotiate(trickleConfig());
    app.duringCandidate = [this] { EXPECT_EQ(session->addRemoteCandidate(kCandidate), 0); };
    connection().fireCandidate("c");
    EXPECT_EQ(sdk.calls(SdkFunction::addIceCandidate).size(), 1U);
}

}  // namespace
}  // namespace zelrtc::test
