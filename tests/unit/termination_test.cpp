// The end of a call and of its session.
#include "session_test.h"

namespace zelrtc::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Termination : public SessionTest {
protected:
    void watchFlags() {
        sdk.watchFlag(&member(*session, connected_Tag()), "connected_");
        sdk.watchFlag(&member(*session, terminated_Tag()), "terminated_");
    }
};

using Destruction = Termination;

const LogLine kReleasing = line(3, "%s(): session: %d, releasing", "~ZelRtcSession", kSid);
const LogLine kReleased = line(3, "%s(): session: %d, released", "~ZelRtcSession", kSid);

TEST_F(Termination, LogsAndSetsTheFlagThroughTheSdk) {
    connect();
    watchFlags();
    EXPECT_EQ(session->teminate(), 0);
    EXPECT_EQ(lines(), Lines{line(2, "%s(): session %d teminate.", "teminate", kSid)});
    EXPECT_THAT(journal(), ElementsAre("log 2 teminate(): session 7 teminate.", "store terminated_ 1"));
}

TEST_F(Termination, ChangesNothingElse) {
    startVideo();
    Members expected(*session);
    session->teminate();
    expected.terminated = 1;
    EXPECT_EQ(Members(*session), expected);
    EXPECT_EQ(session->getState(), RTC_PEER_CONNECTION_STATE_CONNECTED);
    EXPECT_EQ(sdk.liveConnections(), 1U);
}

TEST_F(Termination, MayBeRepeated) {
    connect();
    EXPECT_EQ(session->teminate(), 0);
    EXPECT_EQ(session->teminate(), 0);
    const LogLine expected = line(2, "%s(): session %d teminate.", "teminate", kSid);
    EXPECT_EQ(lines(), (Lines{expected, expected}));
    EXPECT_EQ(member(*session, terminated_Tag()), 1U);
}

TEST_F(Termination, MayComeBeforeInit) {
    construct(completeAnswerConfig());
    EXPECT_EQ(session->teminate(), 0);
    EXPECT_EQ(member(*session, terminated_Tag()), 1U);
}

TEST_F(Termination, KeepsTheAnswerOfACallThatDoesNotTrickleToItself) {
    negotiate(completeAnswerConfig());
    session->teminate();
    sdk.forget();
    connection().fireGatheringEnd();
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(Termination, MayComeFromInsideEachCallback) {
    Frame frame;
    memset(&frame, 0, sizeof(frame));
    const auto end = [this] { EXPECT_EQ(session->teminate(), 0); };

    construct(trickleConfig());
    app.duringAnswer = end;
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_EQ(member(*session, terminated_Tag()), 1U);
    app.duringAnswer = nullptr;

    negotiate(trickleConfig());
    app.duringCandidate = end;
    connection().fireCandidate("first");
    sdk.forget();
    connection().fireCandidate("second");
    EXPECT_THAT(journal(), IsEmpty());

    negotiate(trickleConfig());
    app.duringState = end;
    connection().fireState(2);
    sdk.forget();
    connection().fireState(3);
    EXPECT_THAT(journal(), IsEmpty());

    negotiate(trickleConfig());
    app.duringAudio = end;
    connection().audio().fireFrame(frame);
    sdk.forget();
    connection().audio().fireFrame(frame);
    EXPECT_THAT(journal(), IsEmpty());

    negotiate(completeAnswerConfig());
    app.duringAnswer = end;
    connection().fireGatheringEnd();
    sdk.forget();
    connection().fireGatheringEnd();
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(Destruction, LogsTwoLinesWhenThereWasNoCall) {
    construct(trickleConfig(iceServers(2)));
    destroy();
    EXPECT_EQ(lines(), (Lines{kReleasing, kReleased}));
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(Destruction, LogsTwoLinesAfterAFailedInit) {
    construct(trickleConfig(iceServers(2)));
    sdk.failAlways(SdkFunction::createAnswer, 0x5e000001);
    EXPECT_NE(session->init(kOffer), 0);
    sdk.forget();
    destroy();
    EXPECT_EQ(lines(), (Lines{kReleasing, kReleased}));
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(Destruction, LogsTheStatisticsOfEveryServerAndReleasesTheConnection) {
    negotiate(trickleConfig(iceServers(2)));
    sdk.deliver.iceServers = {serverStats("a", 1, "udp", 1, 1, 10000), serverStats("b", 2, "tcp", 2, 2, 20000)};
    destroy();
    EXPECT_EQ(lines(),
              (Lines{kReleasing, line(2, "%s(): ICE Server URL: %s", "gatherIceServerStats", "a"),
                     line(2, "%s(): ICE Server port: %d", "gatherIceServerStats", 1),
                     line(2, "%s(): ICE Server protocol: %s", "gatherIceServerStats", "udp"),
                     line(2, "%s(): Total requests sent:%llu", "gatherIceServerStats", 1ULL),
                     line(2, "%s(): Total responses received: %llu", "gatherIceServerStats", 1ULL),
                     line(2, "%s(): Total round trip time: %llums", "gatherIceServerStats", 1ULL),
                     line(2, "%s(): ICE Server URL: %s", "gatherIceServerStats", "b"),
                     line(2, "%s(): ICE Server port: %d", "gatherIceServerStats", 2),
                     line(2, "%s(): ICE Server protocol: %s", "gatherIceServerStats", "tcp"),
                     line(2, "%s(): Total requests sent:%llu", "gatherIceServerStats", 2ULL),
                     line(2, "%s(): Total responses received: %llu", "gatherIceServerStats", 2ULL),
                     line(2, "%s(): Total round trip time: %llums", "gatherIceServerStats", 2ULL), kReleased}));
    EXPECT_THAT(events(), ElementsAre("rtcPeerConnectionGetMetrics pc1 type 3 server 0",
                                      "rtcPeerConnectionGetMetrics pc1 type 3 server 1", "closePeerConnection pc1",
                                      "freePeerConnection pc1"));
    EXPECT_EQ(sdk.liveConnections(), 0U);
}

TEST_F(Destruction, AsksForNoStatisticsWithoutServers) {
    negotiate(trickleConfig());
    destroy();
    EXPECT_THAT(journal(), ElementsAre("log 3 ~ZelRtcSession(): session: 7, releasing", "closePeerConnection pc1",
                                       "freePeerConnection pc1", "log 3 ~ZelRtcSession(): session: 7, released"));
}

TEST_F(Destruction, AsksForTheServersOfTheCorrectedConfiguration) {
    negotiate(trickleConfig({iceServer(std::string(257, 'u')), iceServer("stun:good")}));
    destroy();
    EXPECT_EQ(sdk.calls(SdkFunction::rtcPeerConnectionGetMetrics).size(), 1U);

    negotiate(alexaConfig());
    destroy();
    EXPECT_EQ(sdk.calls(SdkFunction::rtcPeerConnectionGetMetrics).size(), 0U);
}

TEST_F(Destruction, SetsBothFlagsBeforeItTouchesTheConnection) {
    connect();
    watchFlags();
    destroy();
    EXPECT_THAT(journal(), ElementsAre("log 3 ~ZelRtcSession(): session: 7, releasing", "store terminated_ 1",
                                       "store connected_ 0", "closePeerConnection pc1", "freePeerConnection pc1",
                                       "log 3 ~ZelRtcSession(): session: 7, released"));
}

TEST_F(Destruction, GoesTheSameWayAfterTheEndOfTheCall) {
    connect();
    session->teminate();
    sdk.forget();
    watchFlags();
    destroy();
    EXPECT_EQ(events(), (Journal{"store terminated_ 1", "store connected_ 0", "closePeerConnection pc1",
                                 "freePeerConnection pc1"}));
    EXPECT_EQ(lines(), (Lines{kReleasing, kReleased}));
}

TEST_F(Destruction, ToleratesFailedStatistics) {
    for (const UINT32 status : kFailures) {
        negotiate(trickleConfig(iceServers(2)));
        sdk.failAlways(SdkFunction::rtcPeerConnectionGetMetrics, status);
        destroy();
        EXPECT_EQ(lines(), (Lines{kReleasing,
                                  line(4, "%s(): Failed to ICE Server Stats for streaming session %d: %08x",
                                       "~ZelRtcSession", kSid, status),
                                  kReleased}));
        EXPECT_EQ(events().size(), 3U);
        EXPECT_EQ(sdk.liveConnections(), 0U);
        sdk.succeedAgain();
    }
}

TEST_F(Destruction, KeepsTheLinesOfTheServersBeforeTheOneThatFails) {
    negotiate(trickleConfig(iceServers(3)));
    sdk.failNth(SdkFunction::rtcPeerConnectionGetMetrics, 2, 0x5a000028);
    destroy();
    EXPECT_EQ(lines().size(), 9U);
    EXPECT_EQ(lines()[7], line(4, "%s(): Failed to ICE Server Stats for streaming session %d: %08x", "~ZelRtcSession",
                               kSid, 0x5a000028U));
}

TEST_F(Destruction, ToleratesAFailedRelease) {
    negotiate(trickleConfig());
    sdk.failAlways(SdkFunction::closePeerConnection, 0x5e000001);
    sdk.failAlways(SdkFunction::freePeerConnection, 0x5e000002);
    destroy();
    EXPECT_EQ(lines(), (Lines{kReleasing, statusLine("releaseRtcConnection", 0x5e000001),
                              statusLine("releaseRtcConnection", 0x5e000002), kReleased}));
}

TEST_F(Destruction, TellsTheApplicationNothing) {
    connect();
    Frame frame;
    memset(&frame, 0, sizeof(frame));
    sdk.during(SdkFunction::closePeerConnection, [&] {
        onAnotherThread([&] {
            connection().fireState(RTC_PEER_CONNECTION_STATE_CLOSED);
            connection().fireCandidate("late");
            connection().fireGatheringEnd();
            connection().audio().fireFrame(frame);
        });
    });
    destroy();
    EXPECT_EQ(lines(), (Lines{kReleasing, kReleased}));
    EXPECT_THAT(events(), ElementsAre("closePeerConnection pc1", "freePeerConnection pc1"));
}

TEST_F(Destruction, RefusesMediaWhileTheConnectionCloses) {
    startVideo();
    uint8_t data[] = {0};
    ZelRtcSession* const dying = session.get();
    sdk.during(SdkFunction::closePeerConnection, [&] {
        EXPECT_EQ(dying->writeVideoData(data, 1, 0, kKeyFrame, 1), -1);
        EXPECT_EQ(dying->writeAudioData(data, 1, 0, 0), -1);
        sdk.note("refused");
    });
    destroy();
    EXPECT_THAT(events(), ::testing::Contains("refused"));
    EXPECT_THAT(sdk.calls(SdkFunction::writeFrame), IsEmpty());
}

TEST_F(Destruction, LeavesTheCallbackToTheApplication) {
    class Counted : public ZelWebrtcSessionCallback {
    public:
        explicit Counted(unsigned* destroyed) : destroyed_(destroyed) {
        }
        ~Counted() override {
            ++*destroyed_;
        }

    private:
        unsigned* destroyed_;
    };
    unsigned destroyed = 0;
    Counted callback(&destroyed);
    negotiate(trickleConfig(), &callback);
    destroy();
    EXPECT_EQ(destroyed, 0U);
}

TEST_F(Destruction, LogsTheSessionsOwnId) {
    session.reset(new ZelRtcSession(-42, trickleConfig(iceServers(1)), &app));
    session->init(kOffer);
    session->teminate();
    sdk.failAlways(SdkFunction::rtcPeerConnectionGetMetrics, 1);
    destroy();
    const Lines all = lines();
    ASSERT_GE(all.size(), 4U);
    EXPECT_EQ(
        Lines(all.end() - 4, all.end()),
        (Lines{line(2, "%s(): session %d teminate.", "teminate", -42),
               line(3, "%s(): session: %d, releasing", "~ZelRtcSession", -42),
               line(4, "%s(): Failed to ICE Server Stats for streaming session %d: %08x", "~ZelRtcSession", -42, 1U),
               line(3, "%s(): session: %d, released", "~ZelRtcSession", -42)}));
}

}  // namespace
}  // namespace zelrtc::test
