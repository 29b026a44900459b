// The SDK's connection: how it is created and how it is released.
#include <algorithm>

#include "session_test.h"

namespace zelrtc::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PeerConnectionTest : public SessionTest {
protected:
    void TearDown() override {
        freePeerConnection(&created);
        SessionTest::TearDown();
    }

    UINT32 create(const ZelRtcSessionConfig& config, ZELRTC_SESSION_ID sid = kSid) {
        sdk.forget();
        dirtyStack();
        return initializePeerConnection(sid, config, &created);
    }

    RtcConfiguration handed() const {
        return sdk.onlyCall(SdkFunction::createPeerConnection).as<RtcConfiguration>();
    }

    /** What the SDK gets from a plain configuration. */
    static RtcConfiguration plainConfiguration() {
        RtcConfiguration configuration;
        memset(&configuration, 0, sizeof(configuration));
        configuration.iceTransportPolicy = ICE_TRANSPORT_POLICY_ALL;
        configuration.kvsRtcConfiguration.generatedCertificateBits = 1024;
        return configuration;
    }

    static bool sameBytes(const RtcConfiguration& left, const RtcConfiguration& right) {
        return memcmp(&left, &right, sizeof(left)) == 0;
    }

    template <size_t kSize>
    static void setText(CHAR (&field)[kSize], const std::string& text) {
        strncpy(field, text.c_str(), kSize - 1);
    }

    static LogLine added(const std::string& url, ZELRTC_SESSION_ID sid = kSid) {
        return line(3, "%s(): session %d, add iceserver. url %s", "initializePeerConnection", sid, url.c_str());
    }

    static LogLine took(double ms, UINT32 status) {
        return line(2, "%s(): createPeerConnection took %.2fms, return 0x%x", "initializePeerConnection", ms, status);
    }

    PRtcPeerConnection created = nullptr;
};

using PeerConnectionCreation = PeerConnectionTest;
using PeerConnectionRelease = PeerConnectionTest;

TEST_F(PeerConnectionCreation, AsksForEveryKindOfCandidateAndA1024BitCertificateAndNothingElse) {
    EXPECT_EQ(create(completeAnswerConfig()), 0U);
    EXPECT_TRUE(sameBytes(handed(), plainConfiguration()));
    EXPECT_EQ(lines(), Lines{took(0.0, 0)});
    EXPECT_EQ(created, &connection().sdk);
}

TEST_F(PeerConnectionCreation, RestrictsCandidatesToRelayedOnes) {
    ZelRtcSessionConfig config = completeAnswerConfig({iceServer("turn:a", "u", "c")});
    config.relayOnly = true;
    create(config);
    RtcConfiguration expected = plainConfiguration();
    expected.iceTransportPolicy = ICE_TRANSPORT_POLICY_RELAY;
    setText(expected.iceServers[0].urls, "turn:a");
    setText(expected.iceServers[0].username, "u");
    setText(expected.iceServers[0].credential, "c");
    EXPECT_TRUE(sameBytes(handed(), expected));
    EXPECT_EQ(lines(), (Lines{line(2, "%s(): session %d, set relay only", "initializePeerConnection", kSid),
                              added("turn:a"), took(0.0, 0)}));
}

TEST_F(PeerConnectionCreation, HandsOverTheServersInTheirOrder) {
    const std::vector<ZelRtcIceServer> servers = iceServers(3);
    create(trickleConfig(servers));
    RtcConfiguration expected = plainConfiguration();
    for (size_t i = 0; i < servers.size(); ++i) {
        setText(expected.iceServers[i].urls, servers[i].url);
        setText(expected.iceServers[i].username, servers[i].username);
        setText(expected.iceServers[i].credential, servers[i].credential);
    }
    EXPECT_TRUE(sameBytes(handed(), expected));
    EXPECT_EQ(lines(), (Lines{added(servers[0].url), added(servers[1].url), added(servers[2].url), took(0.0, 0)}));
}

TEST_F(PeerConnectionCreation, HandsOverNoCredentialWithoutAUserName) {
    create(completeAnswerConfig({iceServer("turn:a", "", "secret")}));
    RtcConfiguration expected = plainConfiguration();
    setText(expected.iceServers[0].urls, "turn:a");
    EXPECT_TRUE(sameBytes(handed(), expected));
}

TEST_F(PeerConnectionCreation, HandsOverAUserNameWithoutACredential) {
    create(completeAnswerConfig({iceServer("turn:a", "user", "")}));
    RtcConfiguration expected = plainConfiguration();
    setText(expected.iceServers[0].urls, "turn:a");
    setText(expected.iceServers[0].username, "user");
    EXPECT_TRUE(sameBytes(handed(), expected));
}

TEST_F(PeerConnectionCreation, LogsAServerWithoutAUrl) {
    create(completeAnswerConfig({iceServer("")}));
    EXPECT_TRUE(sameBytes(handed(), plainConfiguration()));
    EXPECT_EQ(lines(), (Lines{added(""), took(0.0, 0)}));
}

TEST_F(PeerConnectionCreation, CutsEachTextAtTheSdksFieldAndLogsTheWholeUrl) {
    const RtcIceServer fields = {};
    for (const size_t size : {127U, 128U, 255U, 256U, 257U, 300U, 5000U}) {
        SCOPED_TRACE(size);
        const std::string url(size, 'l');
        const std::string username(size, 'u');
        const std::string credential(size, 'c');
        created = nullptr;
        sdk.reset();
        create(completeAnswerConfig({iceServer(url, username, credential), iceServer("stun:next")}));
        RtcConfiguration expected = plainConfiguration();
        setText(expected.iceServers[0].urls, url);
        setText(expected.iceServers[0].username, username);
        setText(expected.iceServers[0].credential, credential);
        setText(expected.iceServers[1].urls, "stun:next");
        EXPECT_TRUE(sameBytes(handed(), expected));
        EXPECT_EQ(strlen(handed().iceServers[0].urls), std::min(size, sizeof(fields.urls) - 1));
        EXPECT_EQ(strlen(handed().iceServers[0].username), std::min<size_t>(size, 256));
        EXPECT_EQ(strlen(handed().iceServers[0].credential), std::min<size_t>(size, 256));
        EXPECT_EQ(lines(), (Lines{added(url), added("stun:next"), took(0.0, 0)}));
    }
}

TEST_F(PeerConnectionCreation, FillsAllTwentyOneServers) {
    const std::vector<ZelRtcIceServer> servers = iceServers(21);
    create(completeAnswerConfig(servers));
    EXPECT_STREQ(handed().iceServers[20].urls, servers[20].url.c_str());
    EXPECT_STREQ(handed().iceServers[20].credential, servers[20].credential.c_str());
    EXPECT_EQ(lines().size(), 22U);
    EXPECT_EQ(lines()[20], added(servers[20].url));
    EXPECT_EQ(lines()[21], took(0.0, 0));
}

TEST_F(PeerConnectionCreation, LeavesOutWhatTheSdkHasNoRoomForAndSaysHowMany) {
    for (const size_t count : {22U, 23U, 100U}) {
        SCOPED_TRACE(count);
        const std::vector<ZelRtcIceServer> servers = iceServers(count);
        created = nullptr;
        sdk.reset();
        EXPECT_EQ(create(completeAnswerConfig(servers)), 0U);
        RtcConfiguration expected = plainConfiguration();
        Lines expectedLines;
        for (size_t i = 0; i < 21; ++i) {
            setText(expected.iceServers[i].urls, servers[i].url);
            setText(expected.iceServers[i].username, servers[i].username);
            setText(expected.iceServers[i].credential, servers[i].credential);
            expectedLines.push_back(added(servers[i].url));
        }
        expectedLines.push_back(line(5, "%s(): session %d, too many iceservers, %u left out",
                                     "initializePeerConnection", kSid, static_cast<unsigned>(count - 21)));
        expectedLines.push_back(took(0.0, 0));
        EXPECT_TRUE(sameBytes(handed(), expected));
        EXPECT_EQ(lines(), expectedLines);
    }
}

TEST_F(PeerConnectionCreation, LogsPercentSignsAsTheyStand) {
    create(completeAnswerConfig({iceServer("turn:%s%n%d")}));
    EXPECT_EQ(lines(), (Lines{added("turn:%s%n%d"), took(0.0, 0)}));
}

TEST_F(PeerConnectionCreation, LogsTheGivenSessionId) {
    ZelRtcSessionConfig config = completeAnswerConfig(iceServers(22));
    config.relayOnly = true;
    create(config, -3);
    EXPECT_EQ(lines().front(), line(2, "%s(): session %d, set relay only", "initializePeerConnection", -3));
    EXPECT_EQ(lines()[1], added("turn:192.0.2.0", -3));
    EXPECT_EQ(lines()[22],
              line(5, "%s(): session %d, too many iceservers, %u left out", "initializePeerConnection", -3, 1U));
}

TEST_F(PeerConnectionCreation, MeasuresTheSdksCallAlone) {
    sdk.duringLog([](const LogLine&) { advanceTimeMs(1000); });
    sdk.during(SdkFunction::createPeerConnection, [] { advanceTimeMs(12.5); });
    create(completeAnswerConfig(iceServers(2)));
    EXPECT_EQ(lines().back(), took(12.5, 0));
    EXPECT_THAT(lines().back().text, ::testing::HasSubstr("took 12.50ms, return 0x0"));
}

TEST_F(PeerConnectionCreation, ReportsAFailureInTheTimingLineAndAsItsResult) {
    for (const UINT32 status : kFailures) {
        sdk.reset();
        sdk.failAlways(SdkFunction::createPeerConnection, status);
        EXPECT_EQ(create(completeAnswerConfig()), status);
        EXPECT_EQ(lines(), Lines{took(0.0, status)});
        EXPECT_EQ(created, nullptr);
    }
}

TEST_F(PeerConnectionCreation, LeavesTheCallersVariableAsAFailingSdkLeftIt) {
    sdk.failAlways(SdkFunction::createPeerConnection, 0x5a000001);
    sdk.deliver.connectionInSpiteOfFailure = true;
    EXPECT_EQ(create(completeAnswerConfig()), 0x5a000001U);
    EXPECT_EQ(created, &connection().sdk);
}

TEST_F(PeerConnectionCreation, DoesNotTouchTheCallersConfiguration) {
    const ZelRtcSessionConfig config = trickleConfig(iceServers(22));
    create(config);
    EXPECT_TRUE(config.trickleIce);
    EXPECT_EQ(textsOf(config.iceServers), textsOf(iceServers(22)));
}

TEST_F(PeerConnectionRelease, ClosesFreesAndForgetsTheConnection) {
    negotiate(trickleConfig());
    PRtcPeerConnection& held = member(*session, pPeerConnection_Tag());
    EXPECT_EQ((session.get()->*pointerTo(ReleaseTag()))(&held), 0U);
    EXPECT_EQ(held, nullptr);
    EXPECT_THAT(journal(), ElementsAre("closePeerConnection pc1", "freePeerConnection pc1"));
}

TEST_F(PeerConnectionRelease, SucceedsWhateverTheSdkSays) {
    for (const UINT32 status : kFailures) {
        sdk.reset();
        negotiate(trickleConfig());
        PRtcPeerConnection& held = member(*session, pPeerConnection_Tag());
        sdk.failAlways(SdkFunction::closePeerConnection, status);
        sdk.failAlways(SdkFunction::freePeerConnection, status + 1);
        EXPECT_EQ((session.get()->*pointerTo(ReleaseTag()))(&held), 0U);
        EXPECT_EQ(held, nullptr);
        Lines expected = {statusLine("releaseRtcConnection", status)};
        if (status + 1 != 0) {
            expected.push_back(statusLine("releaseRtcConnection", status + 1));
        }
        EXPECT_EQ(lines(), expected);
        EXPECT_EQ(events().size(), 2U);
    }
}

TEST_F(PeerConnectionRelease, LogsAFailureToCloseAndStillFrees) {
    negotiate(trickleConfig());
    sdk.failAlways(SdkFunction::closePeerConnection, 0x5e000001);
    PRtcPeerConnection& held = member(*session, pPeerConnection_Tag());
    EXPECT_EQ((session.get()->*pointerTo(ReleaseTag()))(&held), 0U);
    EXPECT_THAT(journal(), ElementsAre("closePeerConnection pc1 = 0x5e000001",
                                       "log 5 releaseRtcConnection(): operation returned status code: 0x5e000001",
                                       "freePeerConnection pc1"));
}

TEST_F(PeerConnectionRelease, ForgetsAConnectionThatTheSdkDidNotNull) {
    negotiate(trickleConfig());
    sdk.deliver.freeLeavesPointer = true;
    PRtcPeerConnection& held = member(*session, pPeerConnection_Tag());
    EXPECT_EQ((session.get()->*pointerTo(ReleaseTag()))(&held), 0U);
    EXPECT_EQ(held, nullptr);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(PeerConnectionRelease, HandsTheSdkTheVariableItself) {
    negotiate(trickleConfig());
    PRtcPeerConnection other = member(*session, pPeerConnection_Tag());
    (session.get()->*pointerTo(ReleaseTag()))(&other);
    EXPECT_EQ(other, nullptr);
    EXPECT_NE(member(*session, pPeerConnection_Tag()), nullptr) << "only its argument is touched";
    member(*session, pPeerConnection_Tag()) = nullptr;
}

}  // namespace
}  // namespace zelrtc::test
