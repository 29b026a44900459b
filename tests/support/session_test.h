/** @file session_test.h What the unit tests share: a session, its application and the recording SDK. */
#ifndef TESTS_SUPPORT_SESSION_TEST_H
#define TESTS_SUPPORT_SESSION_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "recording_callback.h"
#include "recording_sdk.h"
#include "session_members.h"
#include "test_clock.h"
#include "zelwebrtc_session.h"

namespace zelrtc::test {

using Lines = std::vector<LogLine>;
using Journal = std::vector<std::string>;

const char* const kOffer = "{\"type\":\"offer\",\"sdp\":\"v=0 100%s\"}";
const ZELRTC_SESSION_ID kSid = 7;
const int kKeyFrame = 0x10;

ZelRtcIceServer iceServer(const std::string& url, const std::string& username = "", const std::string& credential = "");
ZelRtcSessionConfig trickleConfig(const std::vector<ZelRtcIceServer>& servers = {});
ZelRtcSessionConfig completeAnswerConfig(const std::vector<ZelRtcIceServer>& servers = {});
ZelRtcSessionConfig alexaConfig();
std::vector<ZelRtcIceServer> iceServers(size_t count);
RtcIceServerStats serverStats(const std::string& url, int port, const std::string& protocol, UINT64 sent,
                              UINT64 received, UINT64 roundTrip);

/** The servers' texts, for comparison. */
std::vector<std::string> textsOf(const std::vector<ZelRtcIceServer>& servers);

/** The line that a failing function writes before it returns. */
LogLine statusLine(const char* function, UINT32 status);

/** Runs the action on a thread of its own and waits for its end. */
void onAnotherThread(const std::function<void()>& action);

/** Fills the stack below the caller with garbage, so that an uncleared record shows. */
void dirtyStack();

/** Every member of a session that an operation can change. */
struct Members {
    explicit Members(ZelRtcSession& session);
    bool operator==(const Members& other) const;

    ZELRTC_SESSION_ID sid;
    ZelWebrtcSessionCallback* callback;
    PRtcPeerConnection connection;
    PRtcRtpTransceiver video;
    PRtcRtpTransceiver audio;
    RTC_PEER_CONNECTION_STATE state;
    bool waitKeyframe;
    SIZE_T connected;
    SIZE_T terminated;
    UINT32 videoType;
    UINT32 audioType;
};
std::ostream& operator<<(std::ostream& out, const Members& members);

/** The statuses with which a test makes calls fail: small, the SDK's own, and negative as an int. */
const UINT32 kFailures[] = {0x00000001, 0x5e000001, 0xffffffff};

class SessionTest : public ::testing::Test {
protected:
    SessionTest();
    ~SessionTest() override;

    void TearDown() override;

    /** A new session; forgets all that was recorded so far. */
    ZelRtcSession& construct(const ZelRtcSessionConfig& config);
    ZelRtcSession& construct(const ZelRtcSessionConfig& config, ZelWebrtcSessionCallback* callback);
    /** A session whose init succeeded; forgets all that was recorded so far. */
    ZelRtcSession& negotiate(const ZelRtcSessionConfig& config);
    ZelRtcSession& negotiate(const ZelRtcSessionConfig& config, ZelWebrtcSessionCallback* callback);
    /** A connected call; forgets all that was recorded so far. */
    ZelRtcSession& connect();
    /** A connected call whose video a key frame has opened; forgets all that was recorded so far. */
    ZelRtcSession& startVideo();
    /** Destroys the session; keeps what that records. */
    void destroy();

    RecordedConnection& connection() const;
    Journal journal() const;
    Lines lines() const;
    /** The journal without the log lines. */
    Journal events() const;

    RecordingSdk& sdk;
    RecordingCallback app;
    std::unique_ptr<ZelRtcSession> session;
};

}  // namespace zelrtc::test

#endif
