// How the session reacts to each state that the SDK reports.
#include "session_test.h"

namespace zelrtc::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const UINT32 kConnected = RTC_PEER_CONNECTION_STATE_CONNECTED;

class ConnectionState : public SessionTest {
protected:
    static LogLine newState(UINT32 state) {
        return line(3, "%s(): session %d, new connection state %u", "onConnectionStateChange", kSid, state);
    }

    static LogLine connectionInfo() {
        return line(2, "%s(): log session %d connection info: ", "onConnectionStateChange", kSid);
    }

    static LogLine diagnosticsFailed(UINT32 status) {
        return line(4, "%s(): Failed to get information about selected Ice candidates: 0x%08x",
                    "onConnectionStateChange", status);
    }

    void watchFlags() {
        sdk.watchFlag(&member(*session, connected_Tag()), "connected_");
        sdk.watchFlag(&member(*session, terminated_Tag()), "terminated_");
    }

    SIZE_T connected() {
        return member(*session, connected_Tag());
    }
};

TEST_F(ConnectionState, IsRecordedLoggedAndForwardedWhateverItsValue) {
    negotiate(trickleConfig());
    for (const UINT32 state : {0U, 1U, 2U, 4U, 5U, 6U, 7U, 9U, 0x7fffffffU}) {
        SCOPED_TRACE(state);
        member(*session, connected_Tag()) = 1;
        sdk.forget();
        connection().fireState(state);
        EXPECT_EQ(static_cast<UINT32>(session->getState()), state);
        EXPECT_EQ(connected(), 0U);
        EXPECT_EQ(lines(), Lines{newState(state)});
        EXPECT_THAT(events(), ElementsAre("app 7 onStateChange " + std::to_string(state)));
    }
}

TEST_F(ConnectionState, ConnectedOpensTheWayLogsTheCandidatesAndIsForwarded) {
    negotiate(trickleConfig());
    watchFlags();
    connection().fireState(kConnected);
    EXPECT_EQ(session->getState(), RTC_PEER_CONNECTION_STATE_CONNECTED);
    EXPECT_EQ(connected(), 1U);
    const Journal all = journal();
    ASSERT_EQ(all.size(), 19U);
    EXPECT_THAT(Journal(all.begin(), all.begin() + 6),
                ElementsAre("load terminated_", "log 3 onConnectionStateChange(): session 7, new connection state 3",
                            "store connected_ 1", "log 2 onConnectionStateChange(): log session 7 connection info: ",
                            "rtcPeerConnectionGetMetrics pc1 type 7",
                            "log 2 logSelectedIceCandidatesInformation(): Local Candidate IP Address: 192.0.2.2"));
    EXPECT_EQ(all.back(), "app 7 onStateChange 3");
    EXPECT_EQ(lines()[0], newState(3));
    EXPECT_EQ(lines()[1], connectionInfo());
    EXPECT_EQ(lines().size(), 14U);
}

TEST_F(ConnectionState, AnyOtherIsStoredBeforeItIsForwarded) {
    negotiate(trickleConfig());
    watchFlags();
    connection().fireState(RTC_PEER_CONNECTION_STATE_FAILED);
    EXPECT_THAT(journal(),
                ElementsAre("load terminated_", "log 3 onConnectionStateChange(): session 7, new connection state 5",
                            "store connected_ 0", "app 7 onStateChange 5"));
}

TEST_F(ConnectionState, IsLoggedBeforeItIsStored) {
    negotiate(trickleConfig());
    std::vector<UINT32> stored;
    sdk.duringLog([&](const LogLine&) { stored.push_back(static_cast<UINT32>(session->getState())); });
    connection().fireState(2);
    connection().fireState(4);
    EXPECT_THAT(stored, ElementsAre(0U, 2U));
}

TEST_F(ConnectionState, IsAlreadyReadableInsideTheCallback) {
    negotiate(trickleConfig());
    std::vector<UINT32> seen;
    app.duringState = [&] { seen.push_back(static_cast<UINT32>(session->getState())); };
    connection().fireState(2);
    connection().fireState(3);
    EXPECT_THAT(seen, ElementsAre(2U, 3U));
}

TEST_F(ConnectionState, IsReadableBeforeTheDiagnosticsAreDone) {
    negotiate(trickleConfig());
    UINT32 seen = 0;
    SIZE_T open = 0;
    sdk.during(SdkFunction::rtcPeerConnectionGetMetrics, [&] {
        seen = static_cast<UINT32>(session->getState());
        open = connected();
    });
    connection().fireState(3);
    EXPECT_EQ(seen, 3U);
    EXPECT_EQ(open, 1U);
}

TEST_F(ConnectionState, ReachesTheApplicationBetweenTheTwoLinesOfFailedDiagnostics) {
    for (const UINT32 status : kFailures) {
        negotiate(trickleConfig());
        sdk.failAlways(SdkFunction::rtcPeerConnectionGetMetrics, status);
        connection().fireState(kConnected);

        EXPECT_EQ(lines(), (Lines{newState(3), connectionInfo(), diagnosticsFailed(status),
                                  statusLine("onConnectionStateChange", status)}));
        const Journal all = journal();
        ASSERT_EQ(all.size(), 6U);
        EXPECT_EQ(all[3].compare(0, 6, "log 4 "), 0);
        EXPECT_EQ(all[4], "app 7 onStateChange 3");
        EXPECT_EQ(all[5].compare(0, 6, "log 5 "), 0);
        EXPECT_EQ(connected(), 1U);
        EXPECT_EQ(session->getState(), RTC_PEER_CONNECTION_STATE_CONNECTED);
        sdk.succeedAgain();
        sdk.forget();
        connection().fireState(4);
        EXPECT_EQ(connected(), 0U);
    }
}

TEST_F(ConnectionState, ReachesTheApplicationWhenOnlyTheRemoteCandidateIsUnknown) {
    negotiate(trickleConfig());
    sdk.failNth(SdkFunction::rtcPeerConnectionGetMetrics, 2, 0x5a000028);
    connection().fireState(kConnected);
    const Lines all = lines();
    ASSERT_EQ(all.size(), 11U) << "two lines, seven of the local candidate, two of the failure";
    EXPECT_EQ(all[9], diagnosticsFailed(0x5a000028));
    EXPECT_EQ(all[10], statusLine("onConnectionStateChange", 0x5a000028));
    EXPECT_EQ(journal()[journal().size() - 2], "app 7 onStateChange 3");
}

TEST_F(ConnectionState, IsKeptWithoutACallback) {
    negotiate(trickleConfig(), nullptr);
    connection().fireState(kConnected);
    EXPECT_EQ(connected(), 1U);
    EXPECT_EQ(lines().size(), 14U);
    connection().fireState(RTC_PEER_CONNECTION_STATE_DISCONNECTED);
    EXPECT_EQ(connected(), 0U);
    EXPECT_EQ(session->getState(), RTC_PEER_CONNECTION_STATE_DISCONNECTED);
    sdk.failAlways(SdkFunction::rtcPeerConnectionGetMetrics, 0x5e000001);
    sdk.forget();
    connection().fireState(kConnected);
    EXPECT_EQ(lines(), (Lines{newState(3), connectionInfo(), diagnosticsFailed(0x5e000001),
                              statusLine("onConnectionStateChange", 0x5e000001)}));
    EXPECT_EQ(connected(), 1U);
}

TEST_F(ConnectionState, IsIgnoredAfterTheEndOfTheCall) {
    negotiate(trickleConfig());
    connection().fireState(kConnected);
    session->teminate();
    sdk.forget();
    const Members before(*session);
    for (const UINT32 state : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 9U}) {
        connection().fireState(state);
    }
    EXPECT_EQ(Members(*session), before);
    EXPECT_EQ(session->getState(), RTC_PEER_CONNECTION_STATE_CONNECTED);
    EXPECT_EQ(connected(), 1U);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ConnectionState, GoesBackAndForthInOrder) {
    negotiate(trickleConfig());
    for (const UINT32 state : {2U, 3U, 4U, 3U}) {
        connection().fireState(state);
        EXPECT_EQ(connected(), state == 3U ? 1U : 0U);
    }
    EXPECT_THAT(events(), ElementsAre("app 7 onStateChange 2", "rtcPeerConnectionGetMetrics pc1 type 7",
                                      "rtcPeerConnectionGetMetrics pc1 type 11", "app 7 onStateChange 3",
                                      "app 7 onStateChange 4", "rtcPeerConnectionGetMetrics pc1 type 7",
                                      "rtcPeerConnectionGetMetrics pc1 type 11", "app 7 onStateChange 3"));
}

TEST_F(ConnectionState, IsLoggedAgainWhenItIsReportedAgain) {
    negotiate(trickleConfig());
    connection().fireState(kConnected);
    connection().fireState(kConnected);
    EXPECT_EQ(lines().size(), 28U);
    EXPECT_EQ(connected(), 1U);
}

TEST_F(ConnectionState, ChangesNothingButStateAndConnected) {
    negotiate(trickleConfig());
    Members expected(*session);
    connection().fireState(kConnected);
    expected.state = RTC_PEER_CONNECTION_STATE_CONNECTED;
    expected.connected = 1;
    EXPECT_EQ(Members(*session), expected);
}

TEST_F(ConnectionState, NeitherArmsNorClearsTheKeyFrameGate) {
    startVideo();
    for (const UINT32 state : {4U, 3U, 5U, 3U}) {
        connection().fireState(state);
        EXPECT_FALSE(member(*session, waitKeyframe_Tag()));
    }
}

TEST_F(ConnectionState, ArrivesOnTheSdksThread) {
    negotiate(trickleConfig());
    std::thread::id sdkThread;
    onAnotherThread([&] {
        sdkThread = std::this_thread::get_id();
        connection().fireState(2);
    });
    EXPECT_EQ(app.lastThread, sdkThread);
}

TEST_F(ConnectionState, MayBeConnectedBeforeInitReturns) {
    construct(trickleConfig());
    app.duringAnswer = [this] { onAnotherThread([this] { connection().fireState(kConnected); }); };
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_EQ(session->getState(), RTC_PEER_CONNECTION_STATE_CONNECTED);
    EXPECT_EQ(connected(), 1U);
    EXPECT_THAT(journal(), ::testing::Contains("rtcPeerConnectionGetMetrics pc1 type 11"));
    EXPECT_EQ(journal().back(), "app 7 onStateChange 3");
}

TEST_F(ConnectionState, IsForwardedWithTheSessionsOwnId) {
    session.reset(new ZelRtcSession(-42, trickleConfig(), &app));
    session->init(kOffer);
    sdk.forget();
    connection().fireState(kConnected);
    EXPECT_EQ(lines()[0], line(3, "%s(): session %d, new connection state %u", "onConnectionStateChange", -42, 3U));
    EXPECT_EQ(lines()[1], line(2, "%s(): log session %d connection info: ", "onConnectionStateChange", -42));
    EXPECT_EQ(journal().back(), "app -42 onStateChange 3");
}

TEST_F(ConnectionState, EndsWithTheCallWhenTheApplicationEndsItInside) {
    negotiate(trickleConfig());
    app.duringState = [this] { session->teminate(); };
    connection().fireState(kConnected);
    connection().fireState(RTC_PEER_CONNECTION_STATE_DISCONNECTED);
    EXPECT_EQ(session->getState(), RTC_PEER_CONNECTION_STATE_CONNECTED);
}

}  // namespace
}  // namespace zelrtc::test
