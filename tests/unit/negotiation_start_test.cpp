// init: its calls to the SDK, their order, and what it keeps.
#include "session_test.h"

namespace zelrtc::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NegotiationStart : public SessionTest {
protected:
    UINT64 sessionAddress() const {
        return static_cast<UINT64>(reinterpret_cast<uintptr_t>(session.get()));
    }

    template <size_t kSize>
    static void setText(CHAR (&field)[kSize], const char* text) {
        memset(field, 0, kSize);
        strncpy(field, text, kSize - 1);
    }

    static std::vector<BYTE> track(RTC_CODEC codec, const char* name, MEDIA_STREAM_TRACK_KIND kind) {
        RtcMediaStreamTrack expected;
        memset(&expected, 0, sizeof(expected));
        expected.codec = codec;
        expected.kind = kind;
        setText(expected.trackId, name);
        setText(expected.streamId, "myKvsVideoStream");
        const BYTE* const bytes = reinterpret_cast<const BYTE*>(&expected);
        return std::vector<BYTE>(bytes, bytes + sizeof(expected));
    }
};

const char* const kNegotiation[] = {"createPeerConnection",
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
                                    "deserializeSessionDescriptionInit",
                                    "setRemoteDescription pc1",
                                    "createAnswer pc1",
                                    "setLocalDescription pc1"};

TEST_F(NegotiationStart, GoesThroughTheSdkInOneFixedOrder) {
    construct(completeAnswerConfig());
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_EQ(events(), Journal(std::begin(kNegotiation), std::end(kNegotiation)));
}

TEST_F(NegotiationStart, EndsATrickleCallWithTheAnswer) {
    construct(trickleConfig());
    EXPECT_EQ(session->init(kOffer), 0);
    Journal expected(std::begin(kNegotiation), std::end(kNegotiation));
    expected.push_back("serializeSessionDescriptionInit");
    expected.push_back("app 7 onAnswer {\"type\": \"answer\", \"sdp\": \"v=0 created answer\"}");
    EXPECT_EQ(events(), expected);
}

TEST_F(NegotiationStart, LogsNothingOfItsOwnWhenItSucceeds) {
    construct(completeAnswerConfig());
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_EQ(
        lines(),
        (Lines{line(2, "%s(): createPeerConnection took %.2fms, return 0x%x", "initializePeerConnection", 0.0, 0U),
               line(2, "%s(): session %d, handleOffer with: %s", "handleOffer", kSid, kOffer),
               line(3, "%s(): session %d, handleOffer done", "handleOffer", kSid),
               line(2, "%s(): time taken to create answer %.2fms", "handleOffer", 0.0),
               line(3, "%s(): session %d, create answer done", "handleOffer", kSid)}));
}

TEST_F(NegotiationStart, GivesEveryHandlerTheSessionsAddress) {
    construct(trickleConfig());
    session->init(kOffer);
    unsigned registrations = 0;
    for (const SdkCall& call : sdk.calls()) {
        if (call.handler != 0) {
            EXPECT_EQ(call.customData, sessionAddress()) << nameOf(call.function);
            ++registrations;
        }
    }
    EXPECT_EQ(registrations, 7U);
}

TEST_F(NegotiationStart, RegistersEachHandlerWhereItBelongs) {
    negotiate(trickleConfig());
    Frame frame;
    memset(&frame, 0, sizeof(frame));

    connection().fireCandidate("c");
    connection().fireState(RTC_PEER_CONNECTION_STATE_CONNECTING);
    connection().fireSenderBandwidth();
    connection().video().fireFrame(frame);
    connection().audio().fireFrame(frame);
    connection().video().fireBandwidth(1);
    connection().audio().fireBandwidth(2);

    EXPECT_THAT(
        journal(),
        ElementsAre("log 3 onIceCandidateHandler(): session 7, got new candidate: c", "app 7 onIceCandidate c",
                    "log 3 onConnectionStateChange(): session 7, new connection state 2", "app 7 onStateChange 2",
                    "log 1 onVideoFrameHandler(): Video Frame received. TrackId: 0, Size: 0, Flags 0",
                    "app 7 onAudioFrame 0 bytes",
                    "log 1 onBandwidthEstimation(): session 7. received bitrate suggestion: 1.000000",
                    "log 1 onBandwidthEstimation(): session 7. received bitrate suggestion: 2.000000"));
}

TEST_F(NegotiationStart, ListensToTheBandwidthOfBothTracksWithOneHandler) {
    construct(trickleConfig());
    session->init(kOffer);
    const std::vector<SdkCall> calls = sdk.calls(SdkFunction::transceiverOnBandwidthEstimation);
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].handler, calls[1].handler);
}

TEST_F(NegotiationStart, DeclaresTheTracksInRecordsThatAreZeroOtherwise) {
    construct(trickleConfig());
    dirtyStack();
    session->init(kOffer);
    const std::vector<SdkCall> calls = sdk.calls(SdkFunction::addTransceiver);
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].record, track(RTC_CODEC_H264_PROFILE_42E01F_LEVEL_ASYMMETRY_ALLOWED_PACKETIZATION_MODE,
                                     "myVideoTrack", MEDIA_STREAM_TRACK_KIND_VIDEO));
    EXPECT_EQ(calls[1].record, track(RTC_CODEC_MULAW, "myAudioTrack", MEDIA_STREAM_TRACK_KIND_AUDIO));
    EXPECT_EQ(calls[0].pointer, nullptr) << "no transceiver init";
    EXPECT_EQ(calls[1].pointer, nullptr) << "no transceiver init";
}

TEST_F(NegotiationStart, KeepsTheConnectionAndBothTransceivers) {
    negotiate(trickleConfig());
    EXPECT_EQ(member(*session, pPeerConnection_Tag()), &connection().sdk);
    EXPECT_EQ(member(*session, pVideoRtcRtpTransceiver_Tag()), &connection().video().sdk);
    EXPECT_EQ(member(*session, pAudioRtcRtpTransceiver_Tag()), &connection().audio().sdk);
}

TEST_F(NegotiationStart, ChangesNoOtherMember) {
    construct(trickleConfig(iceServers(2)));
    Members expected(*session);
    session->init(kOffer);
    expected.connection = &connection().sdk;
    expected.video = &connection().video().sdk;
    expected.audio = &connection().audio().sdk;
    EXPECT_EQ(Members(*session), expected);
    EXPECT_EQ(textsOf(member(*session, sessionConfig_Tag()).iceServers), textsOf(iceServers(2)));
}

// Gathering may end while the offer is still being handled, and its handler needs the connection.
TEST_F(NegotiationStart, StoresTheConnectionBeforeTheOfferIsHandled) {
    construct(trickleConfig());
    const auto stored = [this] { return member(*session, pPeerConnection_Tag()); };
    std::vector<bool> before;
    std::vector<bool> during;
    sdk.during(SdkFunction::transceiverOnFrame, [&] { before.push_back(stored() != nullptr); });
    sdk.during(SdkFunction::deserializeSessionDescriptionInit,
               [&] { during.push_back(stored() == &connection().sdk); });
    sdk.during(SdkFunction::setLocalDescription, [&] { during.push_back(stored() == &connection().sdk); });
    session->init(kOffer);
    EXPECT_THAT(before, ElementsAre(false, false));
    EXPECT_THAT(during, ElementsAre(true, true));
}

TEST_F(NegotiationStart, StoresTheTransceiversOnlyAfterTheOfferHasBeenHandled) {
    construct(trickleConfig());
    const Members before(*session);
    app.duringAnswer = [&] {
        EXPECT_EQ(member(*session, pVideoRtcRtpTransceiver_Tag()), before.video);
        EXPECT_EQ(member(*session, pAudioRtcRtpTransceiver_Tag()), before.audio);
        sdk.note("looked");
    };
    session->init(kOffer);
    EXPECT_EQ(journal().back(), "looked");
}

TEST_F(NegotiationStart, TakesTheTimeBeforeAnythingElse) {
    construct(trickleConfig());
    setTimeMs(5000.25);
    sdk.during(SdkFunction::createPeerConnection, [this] {
        EXPECT_EQ(member(*session, offerReceiveTime_Tag()), 5000.25);
        advanceTimeMs(100);
    });
    session->init(kOffer);
    EXPECT_EQ(member(*session, offerReceiveTime_Tag()), 5000.25);
}

TEST_F(NegotiationStart, HandsTheCorrectedConfigurationToTheSdk) {
    construct(trickleConfig({iceServer(std::string(257, 'u')), iceServer("stun:good")}));
    session->init(kOffer);
    const RtcConfiguration handed = sdk.onlyCall(SdkFunction::createPeerConnection).as<RtcConfiguration>();
    EXPECT_STREQ(handed.iceServers[0].urls, "stun:good");
    EXPECT_STREQ(handed.iceServers[1].urls, "");
}

TEST_F(NegotiationStart, MakesAnAlexaCallWithoutRelayAndServers) {
    construct(alexaConfig());
    EXPECT_EQ(session->init(kOffer), 0);
    const RtcConfiguration handed = sdk.onlyCall(SdkFunction::createPeerConnection).as<RtcConfiguration>();
    EXPECT_EQ(handed.iceTransportPolicy, ICE_TRANSPORT_POLICY_ALL);
    EXPECT_STREQ(handed.iceServers[0].urls, "");
    EXPECT_EQ(journal().back(), "app 7 onAnswer {\"type\": \"answer\", \"sdp\": \"v=0 created answer\"}");
}

TEST_F(NegotiationStart, RefusesASecondCallAndLeavesTheFirstUntouched) {
    negotiate(trickleConfig());
    const Members before(*session);
    setTimeMs(7777.0);

    EXPECT_EQ(session->init("another offer"), 2);

    EXPECT_EQ(lines(),
              (Lines{line(5, "%s(): peer connection already created", "init"), statusLine("init", 0x00000002)}));
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_EQ(Members(*session), before);
    EXPECT_EQ(member(*session, offerReceiveTime_Tag()), 7777.0);
}

TEST_F(NegotiationStart, GoesWellWithoutACallback) {
    construct(trickleConfig(), nullptr);
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_EQ(events(), Journal(std::begin(kNegotiation), std::end(kNegotiation)));
}

}  // namespace
}  // namespace zelrtc::test
