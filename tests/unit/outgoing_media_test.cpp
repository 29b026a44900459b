// Frames to the viewer: which are sent, which are held back, and in what form.
#include <limits>

#include "session_test.h"

namespace zelrtc::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class OutgoingMedia : public SessionTest {
protected:
    int writeVideo(int flags, int videoType = 1) {
        return session->writeVideoData(data, sizeof(data), 0, flags, videoType);
    }

    int writeAudio(int flags = 0) {
        return session->writeAudioData(data, sizeof(data), 0, flags);
    }

    size_t sent() const {
        return sdk.calls(SdkFunction::writeFrame).size();
    }

    Frame sentFrame() const {
        return sdk.onlyCall(SdkFunction::writeFrame).as<Frame>();
    }

    static LogLine input(int flags) {
        return line(1, "%s(): input video frame, flag %d", "writeData", flags);
    }

    static LogLine waiting() {
        return line(1, "%s(): waiting keyframe", "writeData");
    }

    bool isWaiting() {
        return member(*session, waitKeyframe_Tag());
    }

    uint8_t data[3] = {1, 2, 3};
};

using StreamChoice = OutgoingMedia;

TEST_F(OutgoingMedia, HoldsVideoBackUntilTheKeyFrameBit) {
    connect();
    sdk.failNth(SdkFunction::writeFrame, 2, 0x5b000006);
    EXPECT_EQ(writeVideo(0), -127);
    EXPECT_EQ(writeVideo(0), -127);
    EXPECT_TRUE(isWaiting());
    EXPECT_EQ(writeVideo(0x10), 0);
    EXPECT_FALSE(isWaiting());
    EXPECT_EQ(writeVideo(0), 0x5b000006);
    EXPECT_EQ(sent(), 2U);
    EXPECT_EQ(lines(), (Lines{input(0), waiting(), input(0), waiting(), input(0x10)}));
}

TEST_F(OutgoingMedia, TestsTheKeyFrameBitAndNoOther) {
    connect();
    for (const int flags : {1, 0x0f, 0x20, 0x08, ~0x10, std::numeric_limits<int>::min()}) {
        sdk.forget();
        EXPECT_EQ(writeVideo(flags), -127) << flags;
        EXPECT_EQ(lines(), (Lines{input(flags), waiting()}));
        EXPECT_TRUE(isWaiting());
    }
    for (const int flags : {0x10, 0x11, 0x30, -1}) {
        sdk.forget();
        member(*session, waitKeyframe_Tag()) = true;
        EXPECT_EQ(writeVideo(flags), 0) << flags;
        EXPECT_EQ(lines(), Lines{input(flags)});
        EXPECT_FALSE(isWaiting());
    }
}

TEST_F(OutgoingMedia, SendsAnyVideoFrameWithoutALineOnceOpened) {
    startVideo();
    for (const int flags : {0, 1, 0x10, -1}) {
        EXPECT_EQ(writeVideo(flags), 0);
    }
    EXPECT_EQ(sent(), 4U);
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_FALSE(isWaiting());
}

TEST_F(OutgoingMedia, NeverHoldsAudioBack) {
    connect();
    for (const int flags : {0, 1, 0x10, -1}) {
        EXPECT_EQ(writeAudio(flags), 0);
    }
    EXPECT_EQ(sent(), 4U);
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_TRUE(isWaiting()) << "audio does not open video";
}

TEST_F(OutgoingMedia, GoesToTheTransceiverOfItsKind) {
    startVideo();
    writeVideo(0);
    writeAudio();
    const std::vector<SdkCall> calls = sdk.calls(SdkFunction::writeFrame);
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].object, &connection().video().sdk);
    EXPECT_EQ(calls[1].object, &connection().audio().sdk);
}

TEST_F(OutgoingMedia, HandsOverTheCallersBytesSizeAndTimeAndNothingElse) {
    startVideo();
    dirtyStack();
    session->writeVideoData(data, sizeof(data), 1000000, 0x11, 1);
    Frame expected;
    memset(&expected, 0, sizeof(expected));
    expected.frameData = data;
    expected.size = sizeof(data);
    expected.presentationTs = 10000000;
    const Frame frame = sentFrame();
    EXPECT_EQ(memcmp(&frame, &expected, sizeof(frame)), 0);
}

TEST_F(OutgoingMedia, HandsAudioOverInTheSameForm) {
    startVideo();
    dirtyStack();
    session->writeAudioData(data, 2, 20, 0x11);
    Frame expected;
    memset(&expected, 0, sizeof(expected));
    expected.frameData = data;
    expected.size = 2;
    expected.presentationTs = 200;
    const Frame frame = sentFrame();
    EXPECT_EQ(memcmp(&frame, &expected, sizeof(frame)), 0);
}

TEST_F(OutgoingMedia, CountsTimeIn64Bits) {
    startVideo();
    const int64_t times[] = {0, 1, 4294967296, 429496730, 922337203685477580, -1};
    for (const int64_t time : times) {
        sdk.forget();
        EXPECT_EQ(session->writeVideoData(data, 1, time, 0, 1), 0);
        EXPECT_EQ(sentFrame().presentationTs, static_cast<UINT64>(time) * 10) << time;
        sdk.forget();
        EXPECT_EQ(session->writeAudioData(data, 1, time, 0), 0);
        EXPECT_EQ(sentFrame().presentationTs, static_cast<UINT64>(time) * 10) << time;
    }
}

TEST_F(OutgoingMedia, PassesOnEmptyAndNullData) {
    startVideo();
    EXPECT_EQ(session->writeVideoData(nullptr, 0, 0, 0, 1), 0);
    EXPECT_EQ(sentFrame().frameData, nullptr);
    EXPECT_EQ(sentFrame().size, 0U);
}

TEST_F(OutgoingMedia, ReturnsTheSdksStatusWithoutALine) {
    startVideo();
    for (const UINT32 status : {0x00000001U, 0x5b000006U, 0xffffffffU}) {
        sdk.succeedAgain();
        sdk.failAlways(SdkFunction::writeFrame, status);
        EXPECT_EQ(writeVideo(0), static_cast<int>(status));
        EXPECT_EQ(writeAudio(), static_cast<int>(status));
    }
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_EQ(sent(), 6U) << "nothing is retried";
}

TEST_F(OutgoingMedia, LogsAKeyFrameBeforeItOpensTheWay) {
    connect();
    bool waitingThen = false;
    sdk.duringLog([&](const LogLine&) { waitingThen = isWaiting(); });
    EXPECT_EQ(writeVideo(0x10), 0);
    EXPECT_TRUE(waitingThen);
}

TEST_F(OutgoingMedia, StaysOpenWhenTheSdkRefusesTheKeyFrame) {
    connect();
    sdk.failNth(SdkFunction::writeFrame, 1, 0x5b000006);
    EXPECT_EQ(writeVideo(0x10), 0x5b000006);
    EXPECT_FALSE(isWaiting());
    EXPECT_EQ(writeVideo(0), 0);
}

TEST_F(OutgoingMedia, IsRefusedBeforeInit) {
    construct(trickleConfig());
    EXPECT_EQ(writeVideo(0x10), -1);
    EXPECT_EQ(writeAudio(), -1);
    EXPECT_TRUE(isWaiting());
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(OutgoingMedia, IsRefusedInEveryStateButConnected) {
    negotiate(trickleConfig());
    for (const UINT32 state : {0U, 1U, 2U, 4U, 5U, 6U, 9U}) {
        connection().fireState(state);
        sdk.forget();
        EXPECT_EQ(writeVideo(0x10), -1) << state;
        EXPECT_EQ(writeAudio(), -1) << state;
        EXPECT_THAT(journal(), IsEmpty());
        EXPECT_TRUE(isWaiting()) << "a frame that is not sent does not open video";
    }
}

TEST_F(OutgoingMedia, ResumesAfterAnInterruptionWithWhateverComesNext) {
    startVideo();
    connection().fireState(RTC_PEER_CONNECTION_STATE_DISCONNECTED);
    EXPECT_EQ(writeVideo(0), -1);
    EXPECT_FALSE(isWaiting());
    connection().fireState(RTC_PEER_CONNECTION_STATE_CONNECTED);
    sdk.forget();
    EXPECT_EQ(writeVideo(0), 0);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(OutgoingMedia, KeepsWaitingThroughAnInterruption) {
    connect();
    EXPECT_EQ(writeVideo(0), -127);
    connection().fireState(RTC_PEER_CONNECTION_STATE_DISCONNECTED);
    connection().fireState(RTC_PEER_CONNECTION_STATE_CONNECTED);
    EXPECT_EQ(writeVideo(0), -127);
}

TEST_F(OutgoingMedia, IsRefusedAfterTheEndOfTheCall) {
    connect();
    session->teminate();
    sdk.forget();
    EXPECT_EQ(writeVideo(0), -1);
    EXPECT_EQ(writeVideo(0x10), -1);
    EXPECT_EQ(writeAudio(), -1);
    EXPECT_TRUE(isWaiting());
    EXPECT_EQ(member(*session, connected_Tag()), 1U);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(OutgoingMedia, IsRefusedAfterTheEndOfTheCallOnceOpened) {
    startVideo();
    session->teminate();
    sdk.forget();
    EXPECT_EQ(writeVideo(0), -1);
    EXPECT_EQ(writeAudio(), -1);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(OutgoingMedia, CostsTwoLoadsAndOneCall) {
    startVideo();
    sdk.watchFlag(&member(*session, connected_Tag()), "connected_");
    sdk.watchFlag(&member(*session, terminated_Tag()), "terminated_");
    writeVideo(0);
    writeAudio();
    EXPECT_THAT(journal(), ElementsAre("load connected_", "load terminated_", "writeFrame pc1.video 3 bytes at 0",
                                       "load connected_", "load terminated_", "writeFrame pc1.audio 3 bytes at 0"));
}

TEST_F(OutgoingMedia, LooksAtConnectedBeforeTheEndOfTheCall) {
    negotiate(trickleConfig());
    sdk.watchFlag(&member(*session, connected_Tag()), "connected_");
    sdk.watchFlag(&member(*session, terminated_Tag()), "terminated_");
    EXPECT_EQ(writeAudio(), -1);
    EXPECT_THAT(journal(), ElementsAre("load connected_"));
}

// The SDK may report connected while init is still in the application's onAnswer. It crashes on a null transceiver, and
// the first key frame must not be used up.
TEST_F(OutgoingMedia, IsRefusedWhileInitStillRunsAndSpendsNoKeyFrame) {
    construct(trickleConfig());
    app.duringAnswer = [this] {
        onAnotherThread([this] { connection().fireState(RTC_PEER_CONNECTION_STATE_CONNECTED); });
        sdk.forget();
        EXPECT_EQ(writeVideo(0x10), -1);
        EXPECT_EQ(writeVideo(0), -1);
        EXPECT_EQ(writeAudio(), -1);
        EXPECT_THAT(journal(), IsEmpty());
    };
    EXPECT_EQ(session->init(kOffer), 0);
    EXPECT_TRUE(isWaiting());
    EXPECT_EQ(writeVideo(0x10), 0);
    EXPECT_EQ(writeAudio(), 0);
}

TEST_F(OutgoingMedia, MayBeWrittenFromInsideTheConnectedReport) {
    negotiate(trickleConfig());
    app.duringState = [this] {
        EXPECT_EQ(writeVideo(0x10), 0);
        EXPECT_EQ(writeAudio(), 0);
    };
    connection().fireState(RTC_PEER_CONNECTION_STATE_CONNECTED);
    EXPECT_EQ(sent(), 2U);
}

TEST_F(StreamChoice, LeavesOutVideoOfAStreamThatIsNotSelected) {
    connect();
    for (const int stream : {0, 2, 3, -1, 257, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(writeVideo(0x10, stream), 0) << stream;
        EXPECT_EQ(writeVideo(0, stream), 0) << stream;
    }
    EXPECT_TRUE(isWaiting());
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(StreamChoice, LeavesOutVideoOfAnotherStreamEvenWhenNotConnected) {
    construct(trickleConfig());
    EXPECT_EQ(writeVideo(0x10, 0), 0);
    EXPECT_EQ(writeVideo(0x10, 1), -1);
    session->teminate();
    EXPECT_EQ(writeVideo(0x10, 0), 0);
}

TEST_F(StreamChoice, LeavesOutAudioWhileItIsOff) {
    connect();
    EXPECT_EQ(session->setAudioVideoType(0, 1), 0);
    EXPECT_EQ(writeAudio(), 0);
    EXPECT_THAT(journal(), IsEmpty());
    EXPECT_EQ(session->setAudioVideoType(1, 1), 0);
    EXPECT_EQ(writeAudio(), 0);
    EXPECT_EQ(sent(), 1U);
}

TEST_F(StreamChoice, LeavesOutAudioWhileItIsOffEvenWhenNotConnected) {
    construct(trickleConfig());
    session->setAudioVideoType(0, 1);
    EXPECT_EQ(writeAudio(), 0);
    session->setAudioVideoType(1, 1);
    EXPECT_EQ(writeAudio(), -1);
}

TEST_F(StreamChoice, StartsANewVideoStreamWithAKeyFrame) {
    startVideo();
    EXPECT_EQ(session->setAudioVideoType(1, 2), 0);
    EXPECT_TRUE(isWaiting());
    EXPECT_EQ(writeVideo(0x10, 1), 0) << "the old stream is skipped";
    EXPECT_EQ(writeVideo(0, 2), -127);
    EXPECT_EQ(writeVideo(0x10, 2), 0);
    EXPECT_EQ(writeVideo(0, 2), 0);
    EXPECT_EQ(sent(), 2U);
}

TEST_F(StreamChoice, KeepsTheStreamRunningWhenItIsChosenAgain) {
    startVideo();
    session->setAudioVideoType(1, 1);
    EXPECT_FALSE(isWaiting());
    EXPECT_EQ(writeVideo(0), 0);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(StreamChoice, AcceptsThreeVideoStreams) {
    startVideo();
    for (const int stream : {0, 1, 2}) {
        member(*session, waitKeyframe_Tag()) = false;
        session->setAudioVideoType(1, stream);
        EXPECT_EQ(member(*session, videoType_Tag()), static_cast<UINT32>(stream));
        EXPECT_TRUE(isWaiting());
        EXPECT_EQ(writeVideo(0x10, stream), 0);
    }
    EXPECT_EQ(sent(), 3U);
}

TEST_F(StreamChoice, IgnoresWhatIsOutOfRange) {
    startVideo();
    const int bad[] = {-1, 3, 256, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};
    for (const int value : bad) {
        const Members before(*session);
        EXPECT_EQ(session->setAudioVideoType(value, value), 0);
        EXPECT_EQ(Members(*session), before) << value;
    }
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(StreamChoice, IgnoresAnAudioTypeOfTwo) {
    startVideo();
    const Members before(*session);
    EXPECT_EQ(session->setAudioVideoType(2, 1), 0);
    EXPECT_EQ(Members(*session), before);
    session->setAudioVideoType(0, 1);
    session->setAudioVideoType(2, 1);
    EXPECT_EQ(member(*session, audioType_Tag()), 0U);
}

TEST_F(StreamChoice, AppliesEachHalfWithoutTheOther) {
    startVideo();
    EXPECT_EQ(session->setAudioVideoType(-1, 0), 0);
    EXPECT_EQ(member(*session, audioType_Tag()), 1U);
    EXPECT_EQ(member(*session, videoType_Tag()), 0U);
    EXPECT_EQ(session->setAudioVideoType(0, 3), 0);
    EXPECT_EQ(member(*session, audioType_Tag()), 0U);
    EXPECT_EQ(member(*session, videoType_Tag()), 0U);
}

TEST_F(StreamChoice, TakesTheAudioTypeFirst) {
    startVideo();
    EXPECT_EQ(session->setAudioVideoType(0, 2), 0);
    EXPECT_EQ(member(*session, audioType_Tag()), 0U);
    EXPECT_EQ(member(*session, videoType_Tag()), 2U);
    EXPECT_TRUE(isWaiting());
}

TEST_F(StreamChoice, ChangesNothingElseAndLogsNothing) {
    startVideo();
    Members expected(*session);
    session->setAudioVideoType(0, 2);
    expected.audioType = 0;
    expected.videoType = 2;
    expected.waitKeyframe = true;
    EXPECT_EQ(Members(*session), expected);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(StreamChoice, LeavesTheGateAloneWhenOnlyAudioChanges) {
    startVideo();
    session->setAudioVideoType(0, 1);
    session->setAudioVideoType(1, 1);
    EXPECT_FALSE(isWaiting());
}

TEST_F(StreamChoice, HoldsForTheWholeSession) {
    construct(trickleConfig());
    session->setAudioVideoType(0, 2);
    session->init(kOffer);
    connection().fireState(RTC_PEER_CONNECTION_STATE_CONNECTED);
    sdk.forget();
    EXPECT_EQ(writeAudio(), 0);
    EXPECT_EQ(writeVideo(0x10, 1), 0);
    EXPECT_EQ(sent(), 0U);
    EXPECT_EQ(writeVideo(0x10, 2), 0);
    EXPECT_EQ(sent(), 1U);
}

}  // namespace
}  // namespace zelrtc::test
