// What each function does with invalid arguments, and before and after a call.
#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>
#include <gtest/gtest.h>

#include <cstring>

#include "answering_side.h"
#include "statuses.h"

namespace zelrtc::test {

namespace {

constexpr STATUS kIceServerIndex = 0x5a000028;

VOID ignoreCandidate(UINT64, PCHAR) {
}

VOID ignoreState(UINT64, RTC_PEER_CONNECTION_STATE) {
}

VOID ignoreFrame(UINT64, PFrame) {
}

VOID ignoreBandwidth(UINT64, DOUBLE) {
}

VOID ignoreSenderBandwidth(UINT64, UINT32, UINT32, UINT32, UINT32, UINT64) {
}

STATUS statistics(AnsweringSide* side, RTC_STATS_TYPE type, RtcStats* stats) {
    stats->requestedTypeOfStats = type;
    return rtcPeerConnectionGetMetrics(side->connection(), nullptr, stats);
}

}  // namespace

TEST(Initialisation, canBeRepeated) {
    EXPECT_EQ(initKvsWebRtc(), STATUS_SUCCESS);
    EXPECT_EQ(initKvsWebRtc(), STATUS_SUCCESS);
    EXPECT_EQ(deinitKvsWebRtc(), STATUS_SUCCESS);
    EXPECT_EQ(initKvsWebRtc(), STATUS_SUCCESS);
}

TEST(NullArguments, areRefused) {
    AnsweringSide side;
    PRtcPeerConnection const connection = side.connection();
    RtcConfiguration configuration{};
    PRtcPeerConnection other = nullptr;
    RtcMediaStreamTrack track{};
    PRtcRtpTransceiver transceiver = nullptr;
    RtcSessionDescriptionInit description{};
    RtcStats stats{};
    CHAR candidate[] = "";

    EXPECT_EQ(createPeerConnection(nullptr, &other), STATUS_NULL_ARG);
    EXPECT_EQ(createPeerConnection(&configuration, nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(closePeerConnection(nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(freePeerConnection(nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(peerConnectionOnIceCandidate(nullptr, 0, ignoreCandidate), STATUS_NULL_ARG);
    EXPECT_EQ(peerConnectionOnIceCandidate(connection, 0, nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(peerConnectionOnConnectionStateChange(nullptr, 0, ignoreState), STATUS_NULL_ARG);
    EXPECT_EQ(peerConnectionOnConnectionStateChange(connection, 0, nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(peerConnectionOnSenderBandwidthEstimation(nullptr, 0, ignoreSenderBandwidth), STATUS_NULL_ARG);
    EXPECT_EQ(peerConnectionOnSenderBandwidthEstimation(connection, 0, nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(addSupportedCodec(nullptr, RTC_CODEC_MULAW), STATUS_NULL_ARG);
    EXPECT_EQ(addTransceiver(nullptr, &track, nullptr, &transceiver), STATUS_NULL_ARG);
    EXPECT_EQ(addTransceiver(connection, nullptr, nullptr, &transceiver), STATUS_NULL_ARG);
    EXPECT_EQ(addTransceiver(connection, &track, nullptr, nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(transceiverOnFrame(nullptr, 0, ignoreFrame), STATUS_NULL_ARG);
    EXPECT_EQ(transceiverOnFrame(side.video(), 0, nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(transceiverOnBandwidthEstimation(nullptr, 0, ignoreBandwidth), STATUS_NULL_ARG);
    EXPECT_EQ(transceiverOnBandwidthEstimation(side.video(), 0, nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(setRemoteDescription(nullptr, &description), STATUS_NULL_ARG);
    EXPECT_EQ(setRemoteDescription(connection, nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(setLocalDescription(nullptr, &description), STATUS_NULL_ARG);
    EXPECT_EQ(setLocalDescription(connection, nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(createAnswer(nullptr, &description), STATUS_NULL_ARG);
    EXPECT_EQ(createAnswer(connection, nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(peerConnectionGetCurrentLocalDescription(nullptr, &description), STATUS_NULL_ARG);
    EXPECT_EQ(peerConnectionGetCurrentLocalDescription(connection, nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(addIceCandidate(nullptr, candidate), STATUS_NULL_ARG);
    EXPECT_EQ(addIceCandidate(connection, nullptr), STATUS_NULL_ARG);
    EXPECT_EQ(rtcPeerConnectionGetMetrics(nullptr, nullptr, &stats), STATUS_NULL_ARG);
    EXPECT_EQ(rtcPeerConnectionGetMetrics(connection, nullptr, nullptr), STATUS_NULL_ARG);
}

TEST(FreeingAConnection, nullsItAndMayBeRepeated) {
    RtcConfiguration configuration{};
    PRtcPeerConnection connection = nullptr;
    ASSERT_EQ(createPeerConnection(&configuration, &connection), STATUS_SUCCESS);
    EXPECT_EQ(freePeerConnection(&connection), STATUS_SUCCESS);
    EXPECT_EQ(connection, nullptr);
    EXPECT_EQ(freePeerConnection(&connection), STATUS_SUCCESS);
}

TEST(ClosingAConnection, mayBeRepeated) {
    AnsweringSide side;
    side.close();
    side.close();
}

TEST(Codecs, otherThanH264AndMulawAreRefused) {
    AnsweringSide side;
    RtcMediaStreamTrack track{};
    PRtcRtpTransceiver transceiver = nullptr;
    for (const RTC_CODEC codec : {RTC_CODEC_OPUS, RTC_CODEC_VP8, RTC_CODEC_ALAW}) {
        track.codec = codec;
        EXPECT_EQ(addSupportedCodec(side.connection(), codec), STATUS_NOT_IMPLEMENTED);
        EXPECT_EQ(addTransceiver(side.connection(), &track, nullptr, &transceiver), STATUS_NOT_IMPLEMENTED);
    }
}

TEST(Transceiver, showsItsTrackAndSendsAndReceivesByDefault) {
    AnsweringSide side;
    EXPECT_EQ(side.video()->direction, RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV);
    EXPECT_STREQ(side.video()->receiver.track.streamId, "stream");

    RtcRtpTransceiverInit init{RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY};
    RtcMediaStreamTrack track = side.video()->receiver.track;
    PRtcRtpTransceiver transceiver = nullptr;
    ASSERT_EQ(addTransceiver(side.connection(), &track, &init, &transceiver), STATUS_SUCCESS);
    EXPECT_EQ(transceiver->direction, RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY);
}

TEST(BadIceServers, areAcceptedSilently) {
    for (const char* const url : {"nonsense", "http://example.org", "turn:", "turn:127.0.0.1:1"}) {
        AnsweringSide side(url);
        EXPECT_NE(side.connection(), nullptr);
    }
}

TEST(Offers, thatAreNoneAreRefused) {
    for (const char* const sdp : {"", "nonsense", "v=0\r\n", "v=0\r\ns=-\r\nt=0 0\r\n",
                                  "v=0\r\no=- 1 1 IN IP4 0.0.0.0\r\ns=-\r\nm=video 9 UDP/TLS/RTP/SAVPF 96\r\n"}) {
        AnsweringSide side;
        EXPECT_EQ(side.setOffer(sdp), kSdpUnreadable) << sdp;
    }
}

TEST(Answers, needAnOfferFirst) {
    AnsweringSide side;
    RtcSessionDescriptionInit description{};
    EXPECT_EQ(createAnswer(side.connection(), &description), kNoRemoteDescription);
    EXPECT_EQ(setLocalDescription(side.connection(), &description), STATUS_INVALID_OPERATION);
    EXPECT_EQ(peerConnectionGetCurrentLocalDescription(side.connection(), &description), STATUS_INVALID_OPERATION);
}

TEST(ClosedConnections, refuseToNegotiate) {
    AnsweringSide side;
    side.close();
    RtcSessionDescriptionInit description{};
    EXPECT_EQ(side.setOffer("v=0\r\n"), STATUS_INVALID_OPERATION);
    EXPECT_EQ(createAnswer(side.connection(), &description), STATUS_INVALID_OPERATION);
    EXPECT_EQ(setLocalDescription(side.connection(), &description), STATUS_INVALID_OPERATION);
    EXPECT_EQ(peerConnectionGetCurrentLocalDescription(side.connection(), &description), STATUS_INVALID_OPERATION);
    EXPECT_EQ(side.addCandidate("candidate:1 1 udp 1 192.0.2.2 9 typ host"), STATUS_INVALID_OPERATION);
}

TEST(UnusableCandidates, areIgnored) {
    AnsweringSide side;
    EXPECT_EQ(side.addCandidate(""), STATUS_SUCCESS);
    EXPECT_EQ(side.addCandidate("nonsense"), STATUS_SUCCESS);
    EXPECT_EQ(side.addCandidate("candidate:1 1 udp 1 name.local 9 typ host"), STATUS_SUCCESS);
    EXPECT_EQ(side.addCandidate("candidate:1 1 tcp 1 192.0.2.2 9 typ host tcptype active"), STATUS_SUCCESS);
    EXPECT_EQ(side.addCandidate("candidate:1 1 udp 1 " + std::string(5000, '1') + " 9 typ host"), STATUS_SUCCESS);
}

TEST(Frames, areRefusedBeforeTheTransportIsReadyAndAfterClosing) {
    AnsweringSide side;
    EXPECT_EQ(side.writeVideo(0), kTransportNotReady);
    EXPECT_EQ(side.writeAudio(0), kTransportNotReady);
    side.close();
    EXPECT_EQ(side.writeVideo(0), kTransportNotReady);
    EXPECT_EQ(side.writeAudio(0), kTransportNotReady);
}

TEST(Frames, withoutBytesAreRefused) {
    AnsweringSide side;
    Frame frame{};
    EXPECT_EQ(writeFrame(side.video(), &frame), STATUS_INVALID_ARG);
    BYTE byte = 0;
    frame.frameData = &byte;
    EXPECT_EQ(writeFrame(side.video(), &frame), STATUS_INVALID_ARG);
}

TEST(Statistics, ofCandidatesAreEmptyBeforeAPairIsSelected) {
    AnsweringSide side;
    RtcStats stats;
    memset(&stats, 'x', sizeof(stats));
    EXPECT_EQ(statistics(&side, RTC_STATS_TYPE_LOCAL_CANDIDATE, &stats), STATUS_SUCCESS);
    EXPECT_STREQ(stats.rtcStatsObject.localIceCandidateStats.address, "");
    EXPECT_STREQ(stats.rtcStatsObject.localIceCandidateStats.candidateType, "");
    EXPECT_EQ(stats.rtcStatsObject.localIceCandidateStats.port, 0);
    EXPECT_EQ(statistics(&side, RTC_STATS_TYPE_REMOTE_CANDIDATE, &stats), STATUS_SUCCESS);
    EXPECT_STREQ(stats.rtcStatsObject.remoteIceCandidateStats.address, "");
}

TEST(Statistics, ofAnIceServerBeyondTheConfiguredOnesAreRefused) {
    AnsweringSide side("stun:127.0.0.1:3478");
    RtcStats stats{};
    stats.rtcStatsObject.iceServerStats.iceServerIndex = 1;
    EXPECT_EQ(statistics(&side, RTC_STATS_TYPE_ICE_SERVER, &stats), kIceServerIndex);
    stats.rtcStatsObject.iceServerStats.iceServerIndex = UINT32_MAX;
    EXPECT_EQ(statistics(&side, RTC_STATS_TYPE_ICE_SERVER, &stats), kIceServerIndex);
}

TEST(Statistics, ofAnIceServerThatWasNeverContactedAreZero) {
    AnsweringSide side("stun:127.0.0.1:3479");
    RtcStats stats;
    memset(&stats, 'x', sizeof(stats));
    stats.rtcStatsObject.iceServerStats.iceServerIndex = 0;
    ASSERT_EQ(statistics(&side, RTC_STATS_TYPE_ICE_SERVER, &stats), STATUS_SUCCESS);
    const RtcIceServerStats& server = stats.rtcStatsObject.iceServerStats;
    EXPECT_STREQ(server.url, "stun:127.0.0.1:3479");
    EXPECT_STREQ(server.protocol, "");
    EXPECT_EQ(server.port, 3479);
    EXPECT_EQ(server.iceServerIndex, 0U);
    EXPECT_EQ(server.totalRequestsSent, 0U);
    EXPECT_EQ(server.totalResponsesReceived, 0U);
    EXPECT_EQ(server.totalRoundTripTime, 0U);
}

TEST(Statistics, thatNobodyKeepsAreNotImplemented) {
    AnsweringSide side;
    RtcStats stats{};
    EXPECT_EQ(statistics(&side, RTC_STATS_TYPE_CANDIDATE_PAIR, &stats), STATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(statistics(&side, RTC_STATS_TYPE_INBOUND_RTP, &stats), STATUS_NOT_IMPLEMENTED);
    EXPECT_EQ(statistics(&side, RTC_STATS_TYPE_RTC_ALL, &stats), STATUS_NOT_IMPLEMENTED);
}

}  // namespace zelrtc::test
