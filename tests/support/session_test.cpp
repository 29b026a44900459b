#include "session_test.h"

#include <algorithm>
#include <thread>

namespace zelrtc::test {

ZelRtcIceServer iceServer(const std::string& url, const std::string& username, const std::string& credential) {
    ZelRtcIceServer server;
    server.url = url;
    server.username = username;
    server.credential = credential;
    return server;
}

std::vector<ZelRtcIceServer> iceServers(size_t count) {
    std::vector<ZelRtcIceServer> servers;
    for (size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        servers.push_back(iceServer("turn:192.0.2." + number, "user" + number, "secret" + number));
    }
    return servers;
}

ZelRtcSessionConfig completeAnswerConfig(const std::vector<ZelRtcIceServer>& servers) {
    ZelRtcSessionConfig config;
    config.iceServers = servers;
    return config;
}

ZelRtcSessionConfig trickleConfig(const std::vector<ZelRtcIceServer>& servers) {
    ZelRtcSessionConfig config = completeAnswerConfig(servers);
    config.trickleIce = true;
    return config;
}

ZelRtcSessionConfig alexaConfig() {
    ZelRtcSessionConfig config = completeAnswerConfig(iceServers(2));
    config.isAlexaCall = true;
    config.relayOnly = true;
    return config;
}

RtcIceServerStats serverStats(const std::string& url, int port, const std::string& protocol, UINT64 sent,
                              UINT64 received, UINT64 roundTrip) {
    RtcIceServerStats stats;
    memset(&stats, 0, sizeof(stats));
    strncpy(stats.url, url.c_str(), sizeof(stats.url) - 1);
    strncpy(stats.protocol, protocol.c_str(), sizeof(stats.protocol) - 1);
    stats.port = port;
    stats.totalRequestsSent = sent;
    stats.totalResponsesReceived = received;
    stats.totalRoundTripTime = roundTrip;
    return stats;
}

std::vector<std::string> textsOf(const std::vector<ZelRtcIceServer>& servers) {
    std::vector<std::string> texts;
    for (const ZelRtcIceServer& server : servers) {
        texts.push_back(server.url);
        texts.push_back(server.username);
        texts.push_back(server.credential);
    }
    return texts;
}

LogLine statusLine(const char* function, UINT32 status) {
    return line(5, "%s(): operation returned status code: 0x%08x", function, status);
}

void onAnotherThread(const std::function<void()>& action) {
    std::thread other(action);
    other.join();
}

#if defined(__GNUC__)
__attribute__((noinline))
#endif
void dirtyStack() {
    volatile BYTE garbage[192 * 1024];
    for (volatile BYTE& byte : garbage) {
        byte = 0xa5;
    }
}

Members::Members(ZelRtcSession& session)
    : sid(member(session, sid_Tag())),
      callback(member(session, callback_Tag())),
      connection(member(session, pPeerConnection_Tag())),
      video(member(session, pVideoRtcRtpTransceiver_Tag())),
      audio(member(session, pAudioRtcRtpTransceiver_Tag())),
      state(member(session, state_Tag())),
      waitKeyframe(member(session, waitKeyframe_Tag())),
      connected(member(session, connected_Tag())),
      terminated(member(session, terminated_Tag())),
      videoType(member(session, videoType_Tag())),
      audioType(member(session, audioType_Tag())) {
}

bool Members::operator==(const Members& other) const {
    return sid == other.sid && callback == other.callback && connection == other.connection && video == other.video &&
           audio == other.audio && state == other.state && waitKeyframe == other.waitKeyframe &&
           connected == other.connected && terminated == other.terminated && videoType == other.videoType &&
           audioType == other.audioType;
}

std::ostream& operator<<(std::ostream& out, const Members& members) {
    return out << "sid " << members.sid << " callback " << members.callback << " connection " << members.connection
               << " video " << members.video << " audio " << members.audio << " state " << members.state
               << " waitKeyframe " << members.waitKeyframe << " connected " << members.connected << " terminated "
               << members.terminated << " videoType " << members.videoType << " audioType " << members.audioType;
}

SessionTest::SessionTest() : sdk(RecordingSdk::instance()) {
    sdk.reset();
    setTimeMs(1000.0);
}

SessionTest::~SessionTest() = default;

// For every test: each line has the tag and the head, no SDK call went astray, and nothing leaks.
void SessionTest::TearDown() {
    sdk.duringLog(nullptr);
    session.reset();
    for (const LogLine& written : sdk.lines()) {
        EXPECT_EQ(written.tag, "platform-utils") << written;
        EXPECT_EQ(written.format.compare(0, 6, "%s(): "), 0) << written;
    }
    EXPECT_THAT(sdk.misuse(), ::testing::IsEmpty());
    EXPECT_EQ(sdk.liveConnections(), 0U);
    sdk.reset();
}

ZelRtcSession& SessionTest::construct(const ZelRtcSessionConfig& config) {
    return construct(config, &app);
}

ZelRtcSession& SessionTest::construct(const ZelRtcSessionConfig& config, ZelWebrtcSessionCallback* callback) {
    session.reset();
    session.reset(new ZelRtcSession(kSid, config, callback));
    sdk.forget();
    return *session;
}

ZelRtcSession& SessionTest::negotiate(const ZelRtcSessionConfig& config) {
    return negotiate(config, &app);
}

ZelRtcSession& SessionTest::negotiate(const ZelRtcSessionConfig& config, ZelWebrtcSessionCallback* callback) {
    construct(config, callback);
    EXPECT_EQ(session->init(kOffer), 0);
    sdk.forget();
    return *session;
}

ZelRtcSession& SessionTest::connect() {
    negotiate(trickleConfig());
    connection().fireState(RTC_PEER_CONNECTION_STATE_CONNECTED);
    sdk.forget();
    return *session;
}

ZelRtcSession& SessionTest::startVideo() {
    connect();
    uint8_t frame[] = {0};
    EXPECT_EQ(session->writeVideoData(frame, sizeof(frame), 0, kKeyFrame, 1), 0);
    sdk.forget();
    return *session;
}

void SessionTest::destroy() {
    session.reset();
}

RecordedConnection& SessionTest::connection() const {
    return sdk.connection();
}

Journal SessionTest::journal() const {
    return sdk.journal();
}

Lines SessionTest::lines() const {
    return sdk.lines();
}

Journal SessionTest::events() const {
    Journal all = sdk.journal();
    all.erase(std::remove_if(all.begin(), all.end(),
                             [](const std::string& entry) { return entry.compare(0, 4, "log ") == 0; }),
              all.end());
    return all;
}

}  // namespace zelrtc::test
