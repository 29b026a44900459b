// Each SDK call of a negotiation fails in turn, and memory runs out: nothing leaks, and the next attempt succeeds.
#include <algorithm>
#include <new>
#include <stdexcept>
#include <tuple>

#include "allocations.h"
#include "session_test.h"

namespace zelrtc::test {
namespace {

struct Step {
    SdkFunction function;
    unsigned nth;
    /** Lines of handleOffer logged by then; zero before the offer is handled. */
    size_t linesOfHandleOffer;
    /** handleOffer reports the failure before init does. */
    bool isPartOfHandleOffer;
};

// The order in which init calls the SDK.
const Step kSteps[] = {{SdkFunction::peerConnectionOnIceCandidate, 1, 0, false},
                       {SdkFunction::peerConnectionOnConnectionStateChange, 1, 0, false},
                       {SdkFunction::peerConnectionOnSenderBandwidthEstimation, 1, 0, false},
                       {SdkFunction::addSupportedCodec, 1, 0, false},
                       {SdkFunction::addSupportedCodec, 2, 0, false},
                       {SdkFunction::addTransceiver, 1, 0, false},
                       {SdkFunction::transceiverOnBandwidthEstimation, 1, 0, false},
                       {SdkFunction::transceiverOnFrame, 1, 0, false},
                       {SdkFunction::addTransceiver, 2, 0, false},
                       {SdkFunction::transceiverOnBandwidthEstimation, 2, 0, false},
                       {SdkFunction::transceiverOnFrame, 2, 0, false},
                       {SdkFunction::deserializeSessionDescriptionInit, 1, 1, true},
                       {SdkFunction::setRemoteDescription, 1, 1, true},
                       {SdkFunction::createAnswer, 1, 2, true},
                       {SdkFunction::setLocalDescription, 1, 2, true},
                       {SdkFunction::serializeSessionDescriptionInit, 1, 4, true}};

// Only a trickle call has the last step.
size_t stepCount(bool trickle) {
    const size_t all = sizeof(kSteps) / sizeof(kSteps[0]);
    return trickle ? all : all - 1;
}

class Faults : public SessionTest, public ::testing::WithParamInterface<std::tuple<bool, UINT32>> {
protected:
    bool trickles() const {
        return std::get<0>(GetParam());
    }

    UINT32 status() const {
        return std::get<1>(GetParam());
    }

    ZelRtcSessionConfig config() const {
        return trickles() ? trickleConfig(iceServers(1)) : completeAnswerConfig(iceServers(1));
    }

    Lines expectedLines(const Step& step) const {
        const Lines handling = {line(2, "%s(): session %d, handleOffer with: %s", "handleOffer", kSid, kOffer),
                                line(3, "%s(): session %d, handleOffer done", "handleOffer", kSid),
                                line(2, "%s(): time taken to create answer %.2fms", "handleOffer", 0.0),
                                line(3, "%s(): session %d, create answer done", "handleOffer", kSid)};
        Lines expected = {
            line(3, "%s(): session %d, add iceserver. url %s", "initializePeerConnection", kSid, "turn:192.0.2.0"),
            line(2, "%s(): createPeerConnection took %.2fms, return 0x%x", "initializePeerConnection", 0.0, 0U)};
        expected.insert(expected.end(), handling.begin(),
                        handling.begin() + static_cast<Lines::difference_type>(step.linesOfHandleOffer));
        if (step.isPartOfHandleOffer) {
            expected.push_back(statusLine("handleOffer", status()));
        }
        expected.push_back(line(5, "%s(): session: %d, init failed, destroy rtc connection", "init", kSid));
        expected.push_back(statusLine("init", status()));
        return expected;
    }

    /** The failed init made the calls of a good one up to this step, then released; the application heard nothing. */
    void expectCallsUpTo(size_t index) const {
        Journal expected = {"createPeerConnection"};
        for (size_t i = 0; i <= index; ++i) {
            expected.push_back(nameOf(kSteps[i].function));
        }
        expected.push_back("closePeerConnection");
        expected.push_back("freePeerConnection");
        Journal names;
        for (const SdkCall& call : sdk.calls()) {
            names.push_back(nameOf(call.function));
        }
        EXPECT_EQ(names, expected);
        EXPECT_EQ(events().size(), names.size());
    }

    void failAt(size_t index) {
        construct(config());
        const Members before(*session);
        sdk.failNth(kSteps[index].function, kSteps[index].nth, status());

        EXPECT_EQ(session->init(kOffer), static_cast<int>(status()));

        EXPECT_EQ(lines(), expectedLines(kSteps[index]));
        expectCallsUpTo(index);
        EXPECT_EQ(Members(*session), before);
        EXPECT_EQ(textsOf(member(*session, sessionConfig_Tag()).iceServers), textsOf(iceServers(1)));
        EXPECT_EQ(sdk.liveConnections(), 0U);
        sdk.succeedAgain();
        sdk.forget();
    }
};

TEST_P(Faults, ReleaseTheConnectionAndLeaveTheSessionReadyForAnotherOffer) {
    for (size_t i = 0; i < stepCount(trickles()); ++i) {
        SCOPED_TRACE(nameOf(kSteps[i].function) + std::to_string(kSteps[i].nth));
        failAt(i);
        EXPECT_EQ(session->init(kOffer), 0);
        EXPECT_EQ(member(*session, pPeerConnection_Tag()), &connection().sdk);
        EXPECT_EQ(sdk.liveConnections(), 1U);
        connection().fireState(RTC_PEER_CONNECTION_STATE_CONNECTED);
        uint8_t data[] = {0};
        EXPECT_EQ(session->writeVideoData(data, 1, 0, kKeyFrame, 1), 0);
        EXPECT_EQ(session->writeAudioData(data, 1, 0, 0), 0);
    }
}

TEST_P(Faults, LeaveNothingForTheDestructorToRelease) {
    for (size_t i = 0; i < stepCount(trickles()); ++i) {
        SCOPED_TRACE(nameOf(kSteps[i].function) + std::to_string(kSteps[i].nth));
        failAt(i);
        destroy();
        EXPECT_EQ(lines(), (Lines{line(3, "%s(): session: %d, releasing", "~ZelRtcSession", kSid),
                                  line(3, "%s(): session: %d, released", "~ZelRtcSession", kSid)}));
        EXPECT_THAT(events(), ::testing::IsEmpty());
    }
}

TEST_P(Faults, OfTheCreationHaveNothingToRelease) {
    construct(config());
    const Members before(*session);
    sdk.failAlways(SdkFunction::createPeerConnection, status());

    EXPECT_EQ(session->init(kOffer), static_cast<int>(status()));

    EXPECT_EQ(
        lines(),
        (Lines{
            line(3, "%s(): session %d, add iceserver. url %s", "initializePeerConnection", kSid, "turn:192.0.2.0"),
            line(2, "%s(): createPeerConnection took %.2fms, return 0x%x", "initializePeerConnection", 0.0, status()),
            statusLine("init", status())}));
    EXPECT_EQ(events().size(), 1U);
    EXPECT_EQ(Members(*session), before);
    sdk.succeedAgain();
    EXPECT_EQ(session->init(kOffer), 0);
}

// A failing SDK hands out no connection, but one that it did hand out would have to be released.
TEST_P(Faults, OfTheCreationReleaseWhatTheSdkHandedOut) {
    construct(config());
    sdk.failNth(SdkFunction::createPeerConnection, 1, status());
    sdk.deliver.connectionInSpiteOfFailure = true;

    EXPECT_EQ(session->init(kOffer), static_cast<int>(status()));

    const Lines all = lines();
    ASSERT_EQ(all.size(), 4U);
    EXPECT_EQ(all[2], line(5, "%s(): session: %d, init failed, destroy rtc connection", "init", kSid));
    EXPECT_EQ(all[3], statusLine("init", status()));
    EXPECT_EQ(events().back(), "freePeerConnection pc1");
    EXPECT_EQ(sdk.liveConnections(), 0U);
}

TEST_P(Faults, MayBeFollowedByFaultsOfTheRelease) {
    construct(config());
    const Members before(*session);
    sdk.failAlways(SdkFunction::createAnswer, status());
    sdk.failAlways(SdkFunction::closePeerConnection, 0x5e000010);
    sdk.failAlways(SdkFunction::freePeerConnection, 0x5e000020);

    EXPECT_EQ(session->init(kOffer), static_cast<int>(status()));

    const Lines all = lines();
    ASSERT_GE(all.size(), 4U);
    EXPECT_EQ(Lines(all.end() - 4, all.end()),
              (Lines{line(5, "%s(): session: %d, init failed, destroy rtc connection", "init", kSid),
                     statusLine("releaseRtcConnection", 0x5e000010), statusLine("releaseRtcConnection", 0x5e000020),
                     statusLine("init", status())}));
    EXPECT_EQ(Members(*session), before);
}

// A handler running while the failed connection closes finds a session without a connection.
TEST_P(Faults, ForgetTheConnectionBeforeItIsReleased) {
    construct(config());
    sdk.failAlways(SdkFunction::createAnswer, status());
    RtcPeerConnection untouched;
    PRtcPeerConnection seen = &untouched;
    sdk.during(SdkFunction::closePeerConnection, [&] { seen = member(*session, pPeerConnection_Tag()); });
    session->init(kOffer);
    EXPECT_EQ(seen, nullptr);
}

std::string nameOfFault(const ::testing::TestParamInfo<std::tuple<bool, UINT32>>& info) {
    char status[16];
    snprintf(status, sizeof(status), "%08x", std::get<1>(info.param));
    return std::string(std::get<0>(info.param) ? "trickle_" : "complete_") + status;
}

INSTANTIATE_TEST_SUITE_P(Negotiation, Faults, ::testing::Combine(::testing::Bool(), ::testing::ValuesIn(kFailures)),
                         nameOfFault);

class MemoryExhaustion : public SessionTest {
protected:
    static ZelRtcSessionConfig configWithLongTexts() {
        ZelRtcSessionConfig config = trickleConfig(iceServers(4));
        for (ZelRtcIceServer& server : config.iceServers) {
            server.url += std::string(100, 'u');
            server.username += std::string(100, 'n');
            server.credential += std::string(100, 'c');
        }
        return config;
    }

    /** Fails each allocation of the action in turn; returns how many there are. */
    template <typename Action>
    static unsigned failEachAllocation(const Action& action) {
        for (unsigned nth = 1;; ++nth) {
            const AllocationCount count;
            bool failed = false;
            try {
                const FailingAllocation failing(nth);
                action();
            } catch (const std::bad_alloc&) {
                failed = true;
            }
            EXPECT_EQ(count.unreleased(), 0) << "allocation " << nth;
            if (!failed) {
                return nth - 1;
            }
        }
    }
};

TEST_F(MemoryExhaustion, LeavesTheConstructorAsAnExceptionAndLeavesNothingBehind) {
    const ZelRtcSessionConfig config = configWithLongTexts();
    const unsigned allocations = failEachAllocation([&] { const ZelRtcSession doomed(kSid, config, &app); });
    EXPECT_GE(allocations, 2U * (1 + 4 * 3)) << "two lists of four servers with three texts each";
}

TEST_F(MemoryExhaustion, WhileABadServerIsDroppedLeavesNothingBehind) {
    ZelRtcSessionConfig config = configWithLongTexts();
    config.iceServers[2].url = std::string(300, 'u');
    EXPECT_GT(failEachAllocation([&] { const ZelRtcSession doomed(kSid, config, &app); }), 0U);
}

TEST_F(MemoryExhaustion, InTheConstructorSaysNothingAndCallsNobody) {
    const ZelRtcSessionConfig config = configWithLongTexts();
    sdk.forget();
    const FailingAllocation failing(3);
    EXPECT_THROW(ZelRtcSession(kSid, config, &app), std::bad_alloc);
    EXPECT_THAT(journal(), ::testing::IsEmpty());
}

// A configuration that cannot be copied for the connection leaves the session as it was.
TEST_F(MemoryExhaustion, InTheCopyOfTheConfigurationLeavesTheSessionReadyForAnotherOffer) {
    construct(configWithLongTexts());
    const Members before(*session);
    const std::string offer = kOffer;
    {
        const FailingAllocation failing(2);
        EXPECT_THROW(session->init(offer), std::bad_alloc);
    }
    EXPECT_EQ(Members(*session), before);
    EXPECT_THAT(events(), ::testing::IsEmpty());
    EXPECT_EQ(session->init(offer), 0);
}

// Every text that init copies, the answer included.
TEST_F(MemoryExhaustion, InInitLeavesNoConnectionAndTheSessionReadyForAnotherOffer) {
    ZelWebrtcSessionCallback silent;
    construct(configWithLongTexts(), &silent);
    const std::string offer = kOffer;
    int result = -1;
    const unsigned allocations = failEachAllocation([&] { result = session->init(offer); });
    EXPECT_EQ(result, 0) << "the first attempt with enough memory";
    EXPECT_EQ(allocations, 1U + 4 * 3 + 1) << "four servers with three texts each in a list, and the answer";
    EXPECT_EQ(sdk.liveConnections(), 1U);
}

class ThrowingAnswer : public SessionTest {
protected:
    ThrowingAnswer() {
        construct(trickleConfig(iceServers(2)));
        app.duringAnswer = [] { throw std::runtime_error("no way to the viewer"); };
    }
};

TEST_F(ThrowingAnswer, LeavesInitAndLeavesTheSessionAsItWas) {
    const Members before(*session);
    EXPECT_THROW(session->init(kOffer), std::runtime_error);
    EXPECT_EQ(Members(*session), before);
    EXPECT_EQ(sdk.liveConnections(), 0U);
    const Journal all = events();
    ASSERT_GE(all.size(), 2U);
    EXPECT_EQ(Journal(all.end() - 2, all.end()), (Journal{"closePeerConnection pc1", "freePeerConnection pc1"}));
}

TEST_F(ThrowingAnswer, MayBeFollowedByAnotherOffer) {
    EXPECT_THROW(session->init(kOffer), std::runtime_error);
    app.duringAnswer = nullptr;
    EXPECT_EQ(session->init(kOffer), 0);
    connection().fireState(RTC_PEER_CONNECTION_STATE_CONNECTED);
    uint8_t frame[] = {0};
    EXPECT_EQ(session->writeVideoData(frame, sizeof(frame), 0, kKeyFrame, 1), 0);
}

// As after any other failure of init, a handler running meanwhile finds a session without a connection.
TEST_F(ThrowingAnswer, ForgetsTheConnectionBeforeItIsReleased) {
    RtcPeerConnection untouched;
    PRtcPeerConnection seen = &untouched;
    sdk.during(SdkFunction::closePeerConnection, [&] { seen = member(*session, pPeerConnection_Tag()); });
    EXPECT_THROW(session->init(kOffer), std::runtime_error);
    EXPECT_EQ(seen, nullptr);
}

}  // namespace
}  // namespace zelrtc::test
