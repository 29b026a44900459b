// A new session: what it copies, how it starts, what it logs.
#include <limits>
#include <new>

#include "session_test.h"

namespace zelrtc::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Construction : public SessionTest {
protected:
    void create(const ZelRtcSessionConfig& config, ZELRTC_SESSION_ID sid = kSid) {
        session.reset();
        sdk.forget();
        session.reset(new ZelRtcSession(sid, config, &app));
    }
};

TEST_F(Construction, StartsUnconnectedOnVideoStreamOneWithAudioWaitingForAKeyFrame) {
    create(trickleConfig());

    EXPECT_EQ(member(*session, sid_Tag()), kSid);
    EXPECT_EQ(member(*session, callback_Tag()), &app);
    EXPECT_EQ(member(*session, pPeerConnection_Tag()), nullptr);
    EXPECT_EQ(member(*session, pVideoRtcRtpTransceiver_Tag()), nullptr);
    EXPECT_EQ(member(*session, pAudioRtcRtpTransceiver_Tag()), nullptr);
    EXPECT_EQ(member(*session, state_Tag()), RTC_PEER_CONNECTION_STATE_NONE);
    EXPECT_TRUE(member(*session, waitKeyframe_Tag()));
    EXPECT_EQ(member(*session, offerReceiveTime_Tag()), 0.0);
    EXPECT_EQ(member(*session, connected_Tag()), 0U);
    EXPECT_EQ(member(*session, terminated_Tag()), 0U);
    EXPECT_EQ(member(*session, videoType_Tag()), 1U);
    EXPECT_EQ(member(*session, audioType_Tag()), 1U);
}

TEST_F(Construction, SetsEveryMemberWhateverTheMemoryHeld) {
    alignas(ZelRtcSession) unsigned char memory[sizeof(ZelRtcSession)];
    memset(memory, 0xff, sizeof(memory));

    ZelRtcSession* const placed = new (memory) ZelRtcSession(kSid, trickleConfig(), &app);
    create(trickleConfig());

    EXPECT_EQ(Members(*placed), Members(*session));
    EXPECT_EQ(member(*placed, offerReceiveTime_Tag()), 0.0);
    placed->~ZelRtcSession();
}

TEST_F(Construction, StoresBothFlagsThroughTheSdkAfterItsLogLine) {
    alignas(ZelRtcSession) unsigned char memory[sizeof(ZelRtcSession)];
    memset(memory, 0xff, sizeof(memory));
    ZelRtcSession* const future = reinterpret_cast<ZelRtcSession*>(memory);
    sdk.watchFlag(&member(*future, connected_Tag()), "connected_");
    sdk.watchFlag(&member(*future, terminated_Tag()), "terminated_");

    ZelRtcSession* const placed = new (memory) ZelRtcSession(kSid, trickleConfig(), &app);

    EXPECT_THAT(journal(), ElementsAre("log 3 ZelRtcSession(): session 7, trickle 1, relayonly 0", "store connected_ 0",
                                       "store terminated_ 0"));
    placed->~ZelRtcSession();
}

TEST_F(Construction, CopiesTheConfiguration) {
    for (const bool trickle : {false, true}) {
        for (const bool relay : {false, true}) {
            ZelRtcSessionConfig config = completeAnswerConfig(iceServers(3));
            config.trickleIce = trickle;
            config.relayOnly = relay;
            create(config);
            const ZelRtcSessionConfig& copy = member(*session, sessionConfig_Tag());
            EXPECT_FALSE(copy.isAlexaCall);
            EXPECT_EQ(copy.trickleIce, trickle);
            EXPECT_EQ(copy.relayOnly, relay);
            EXPECT_EQ(textsOf(copy.iceServers), textsOf(iceServers(3)));
        }
    }
}

TEST_F(Construction, CorrectsItsCopyAndNeverTheCallersRecord) {
    const ZelRtcSessionConfig config = alexaConfig();
    create(config);

    EXPECT_FALSE(config.trickleIce);
    EXPECT_TRUE(config.relayOnly);
    EXPECT_EQ(textsOf(config.iceServers), textsOf(iceServers(2)));
    const ZelRtcSessionConfig& copy = member(*session, sessionConfig_Tag());
    EXPECT_TRUE(copy.isAlexaCall);
    EXPECT_TRUE(copy.trickleIce);
    EXPECT_FALSE(copy.relayOnly);
    EXPECT_THAT(copy.iceServers, IsEmpty());
}

TEST_F(Construction, LogsTheCallersFlags) {
    for (const bool trickle : {false, true}) {
        for (const bool relay : {false, true}) {
            ZelRtcSessionConfig config;
            config.trickleIce = trickle;
            config.relayOnly = relay;
            create(config);
            EXPECT_EQ(lines(), Lines{line(3, "%s(): session %d, trickle %d, relayonly %d", "ZelRtcSession", kSid,
                                          trickle, relay)});
        }
    }
}

TEST_F(Construction, LogsAnAlexaCallAsSuchWhateverItsFlags) {
    for (const bool trickle : {false, true}) {
        for (const bool relay : {false, true}) {
            ZelRtcSessionConfig config = alexaConfig();
            config.trickleIce = trickle;
            config.relayOnly = relay;
            create(config);
            EXPECT_EQ(lines(), Lines{line(3, "%s(): session %d, call from alexa", "ZelRtcSession", kSid)});
        }
    }
}

TEST_F(Construction, LogsADroppedServerBeforeItself) {
    create(trickleConfig({iceServer(std::string(257, 'u'))}));

    EXPECT_THAT(journal(), ElementsAre("log 5 checkSessionConfig(): session 7, invalid iceserver. url " +
                                           std::string(257, 'u') + ", username , credential ",
                                       "log 3 ZelRtcSession(): session 7, trickle 1, relayonly 0"));
    EXPECT_THAT(member(*session, sessionConfig_Tag()).iceServers, IsEmpty());
}

TEST_F(Construction, TakesAnySessionId) {
    for (const int sid : {0, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        create(trickleConfig(), sid);
        EXPECT_EQ(session->getSessionId(), sid);
        EXPECT_EQ(lines(), Lines{line(3, "%s(): session %d, trickle %d, relayonly %d", "ZelRtcSession", sid, 1, 0)});
    }
}

TEST_F(Construction, CallsNoSdkFunctionAndNobodyBack) {
    create(trickleConfig(iceServers(2)));
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(Construction, AcceptsANullCallback) {
    ZelRtcSession& silent = construct(trickleConfig(), nullptr);
    EXPECT_EQ(member(silent, callback_Tag()), nullptr);
    EXPECT_EQ(silent.getSessionId(), kSid);
}

TEST_F(Construction, ReportsNoStateBeforeTheSdkDoes) {
    EXPECT_EQ(construct(trickleConfig()).getState(), RTC_PEER_CONNECTION_STATE_NONE);
}

}  // namespace
}  // namespace zelrtc::test
