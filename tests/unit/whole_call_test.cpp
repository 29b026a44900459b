// One call from construction to destruction: every SDK call, every line and every report, in order.
#include "session_test.h"

namespace zelrtc::test {
namespace {

class WholeCall : public SessionTest {
protected:
    WholeCall() : samples(), frame() {
        sdk.deliver.iceServers = {serverStats("stun:192.0.2.1:3478", 3478, "udp", 4, 3, 123456789),
                                  serverStats("turn:192.0.2.2:443", 443, "tcp", 2, 1, 9999)};
        sdk.during(SdkFunction::createPeerConnection, [] { advanceTimeMs(40.5); });
        sdk.during(SdkFunction::setLocalDescription, [] { advanceTimeMs(2.25); });
        frame.frameData = samples;
        frame.size = sizeof(samples);
    }

    static std::vector<ZelRtcIceServer> twoServers() {
        return {iceServer("stun:192.0.2.1:3478"), iceServer("turn:192.0.2.2:443", "user", "secret")};
    }

    static Journal joined(const std::vector<Journal>& parts) {
        Journal all;
        for (const Journal& part : parts) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }

    static Journal negotiation() {
        return {"log 3 initializePeerConnection(): session 7, add iceserver. url stun:192.0.2.1:3478",
                "log 3 initializePeerConnection(): session 7, add iceserver. url turn:192.0.2.2:443",
                "createPeerConnection",
                "log 2 initializePeerConnection(): createPeerConnection took 40.50ms, return 0x0",
                "peerConnectionOnIceCandidate pc1",
                "peerConnectionOnConnectionStateChange pc1",
                "peerConnectionOnSenderBandwidthEstimation pc1",
                "addSupportedCodec pc1 codec 1",
                "addSupportedCodec pc1 codec 4",
                "addTransceiver pc1 video",
                "transceiverOnBandwidthEstimation pc1.video",
                "transceiverOnFrame pc1.video",
                "addTransceiver pc1 audio",
                "transceiverOnBandwidthEstimation pc1.audio",
                "transceiverOnFrame pc1.audio",
                "log 2 handleOffer(): session 7, handleOffer with: the offer",
                "deserializeSessionDescriptionInit",
                "setRemoteDescription pc1",
                "log 3 handleOffer(): session 7, handleOffer done",
                "createAnswer pc1",
                "setLocalDescription pc1",
                "log 2 handleOffer(): time taken to create answer 42.75ms",
                "log 3 handleOffer(): session 7, create answer done"};
    }

    static Journal connected() {
        const std::string head = "log 2 logSelectedIceCandidatesInformation(): ";
        return {"log 3 onConnectionStateChange(): session 7, new connection state 3",
                "log 2 onConnectionStateChange(): log session 7 connection info: ",
                "rtcPeerConnectionGetMetrics pc1 type 7",
                head + "Local Candidate IP Address: 192.0.2.2",
                head + "Local Candidate type: host",
                head + "Local Candidate port: 45020",
                head + "Local Candidate priority: 2130706431",
                head + "Local Candidate transport protocol: udp",
                head + "Local Candidate relay protocol: N/A",
                head + "Local Candidate Ice server source: N/A",
                "rtcPeerConnectionGetMetrics pc1 type 11",
                head + "Remote Candidate IP Address: 198.51.100.7",
                head + "Remote Candidate type: srflx",
                head + "Remote Candidate port: 9",
                head + "Remote Candidate priority: -5",
                head + "Remote Candidate transport protocol: tcp",
                "app 7 onStateChange 3"};
    }

    static Journal media() {
        return {"log 1 writeData(): input video frame, flag 0",
                "log 1 writeData(): waiting keyframe",
                "log 1 writeData(): input video frame, flag 16",
                "writeFrame pc1.video 160 bytes at 10000000",
                "writeFrame pc1.video 160 bytes at 10333330",
                "writeFrame pc1.audio 160 bytes at 10200000",
                "app 7 onAudioFrame 160 bytes",
                "log 1 onBandwidthEstimation(): session 7. received bitrate suggestion: 300000.000000"};
    }

    static Journal end() {
        return {"log 2 teminate(): session 7 teminate.",
                "log 3 ~ZelRtcSession(): session: 7, releasing",
                "rtcPeerConnectionGetMetrics pc1 type 3 server 0",
                "log 2 gatherIceServerStats(): ICE Server URL: stun:192.0.2.1:3478",
                "log 2 gatherIceServerStats(): ICE Server port: 3478",
                "log 2 gatherIceServerStats(): ICE Server protocol: udp",
                "log 2 gatherIceServerStats(): Total requests sent:4",
                "log 2 gatherIceServerStats(): Total responses received: 3",
                "log 2 gatherIceServerStats(): Total round trip time: 12345ms",
                "rtcPeerConnectionGetMetrics pc1 type 3 server 1",
                "log 2 gatherIceServerStats(): ICE Server URL: turn:192.0.2.2:443",
                "log 2 gatherIceServerStats(): ICE Server port: 443",
                "log 2 gatherIceServerStats(): ICE Server protocol: tcp",
                "log 2 gatherIceServerStats(): Total requests sent:2",
                "log 2 gatherIceServerStats(): Total responses received: 1",
                "log 2 gatherIceServerStats(): Total round trip time: 0ms",
                "closePeerConnection pc1",
                "freePeerConnection pc1",
                "log 3 ~ZelRtcSession(): session: 7, released"};
    }

    void sendAndReceive() {
        EXPECT_EQ(session->writeVideoData(samples, sizeof(samples), 900000, 0, 1), -127);
        EXPECT_EQ(session->writeVideoData(samples, sizeof(samples), 1000000, kKeyFrame, 1), 0);
        EXPECT_EQ(session->writeVideoData(samples, sizeof(samples), 1033333, 0, 1), 0);
        EXPECT_EQ(session->writeAudioData(samples, sizeof(samples), 1020000, 0), 0);
        connection().audio().fireFrame(frame);
        connection().video().fireBandwidth(300000);
        connection().fireSenderBandwidth();
    }

    uint8_t samples[160];
    Frame frame;
};

TEST_F(WholeCall, TakesItsRoadWithATrickledAnswer) {
    session.reset(new ZelRtcSession(kSid, trickleConfig(twoServers()), &app));
    EXPECT_EQ(session->init("the offer"), 0);
    connection().fireCandidate("local candidate");
    EXPECT_EQ(session->addRemoteCandidate("remote candidate"), 0);
    connection().fireGatheringEnd();
    connection().fireState(RTC_PEER_CONNECTION_STATE_CONNECTING);
    connection().fireState(RTC_PEER_CONNECTION_STATE_CONNECTED);
    sendAndReceive();
    EXPECT_EQ(session->teminate(), 0);
    destroy();

    EXPECT_EQ(journal(),
              joined({{"log 3 ZelRtcSession(): session 7, trickle 1, relayonly 0"},
                      negotiation(),
                      {"serializeSessionDescriptionInit",
                       "app 7 onAnswer {\"type\": \"answer\", \"sdp\": \"v=0 created answer\"}",
                       "log 3 onIceCandidateHandler(): session 7, got new candidate: local candidate",
                       "app 7 onIceCandidate local candidate", "deserializeRtcIceCandidateInit",
                       "addIceCandidate pc1 candidate:1 1 udp 2130706431 192.0.2.2 45020 typ host",
                       "log 3 onIceCandidateHandler(): ice candidate gathering finished",
                       "peerConnectionGetCurrentLocalDescription pc1", "serializeSessionDescriptionInit",
                       "log 3 onConnectionStateChange(): session 7, new connection state 2", "app 7 onStateChange 2"},
                      connected(),
                      media(),
                      end()}));
}

TEST_F(WholeCall, TakesItsRoadWithACompleteAnswer) {
    session.reset(new ZelRtcSession(kSid, completeAnswerConfig(twoServers()), &app));
    EXPECT_EQ(session->init("the offer"), 0);
    connection().fireCandidate("local candidate");
    connection().fireGatheringEnd();
    connection().fireState(RTC_PEER_CONNECTION_STATE_CONNECTED);
    sendAndReceive();
    EXPECT_EQ(session->teminate(), 0);
    destroy();

    EXPECT_EQ(journal(), joined({{"log 3 ZelRtcSession(): session 7, trickle 0, relayonly 0"},
                                 negotiation(),
                                 {"log 3 onIceCandidateHandler(): ice candidate gathering finished",
                                  "peerConnectionGetCurrentLocalDescription pc1", "serializeSessionDescriptionInit",
                                  "app 7 onAnswer {\"type\": \"answer\", \"sdp\": \"v=0 current local description\"}"},
                                 connected(),
                                 media(),
                                 end()}));
}

TEST_F(WholeCall, DoesNotMeetItsNeighbour) {
    RecordingCallback otherApp;
    session.reset(new ZelRtcSession(kSid, trickleConfig(), &app));
    EXPECT_EQ(session->init("the offer"), 0);
    RecordedConnection& first = connection();
    ZelRtcSession other(8, completeAnswerConfig(), &otherApp);
    EXPECT_EQ(other.init("another offer"), 0);
    RecordedConnection& second = connection();

    first.fireState(RTC_PEER_CONNECTION_STATE_CONNECTED);
    EXPECT_EQ(other.getState(), RTC_PEER_CONNECTION_STATE_NONE);
    EXPECT_EQ(other.writeAudioData(samples, 1, 0, 0), -1);
    other.setAudioVideoType(0, 2);
    other.teminate();
    EXPECT_EQ(session->writeAudioData(samples, 1, 0, 0), 0);
    EXPECT_EQ(session->writeVideoData(samples, 1, 0, kKeyFrame, 1), 0);

    sdk.forget();
    second.audio().fireFrame(frame);
    first.audio().fireFrame(frame);
    EXPECT_EQ(events(), Journal{"app 7 onAudioFrame 160 bytes"});
}

}  // namespace
}  // namespace zelrtc::test
