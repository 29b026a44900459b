// What arrives from the viewer: audio goes to the application, everything else to the log.
#include <limits>

#include "session_test.h"

namespace zelrtc::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class IncomingMedia : public SessionTest {
protected:
    IncomingMedia() : samples(), frame() {
        frame.frameData = samples;
        frame.size = sizeof(samples);
    }

    BYTE samples[160];
    Frame frame;
};

TEST_F(IncomingMedia, HandsAudioToTheApplicationWithoutACopy) {
    negotiate(trickleConfig());
    connection().audio().fireFrame(frame);
    ASSERT_EQ(app.audio.size(), 1U);
    EXPECT_EQ(app.audio[0].data, samples);
    EXPECT_EQ(app.audio[0].size, 160U);
    EXPECT_THAT(journal(), ElementsAre("app 7 onAudioFrame 160 bytes"));
}

TEST_F(IncomingMedia, HandsOverAudioWhateverElseTheFrameSays) {
    negotiate(completeAnswerConfig());
    frame.frameData = nullptr;
    frame.size = std::numeric_limits<UINT32>::max();
    frame.flags = FRAME_FLAG_KEY_FRAME;
    frame.trackId = 5;
    frame.presentationTs = 1;
    connection().audio().fireFrame(frame);
    ASSERT_EQ(app.audio.size(), 1U);
    EXPECT_EQ(app.audio[0].data, nullptr);
    EXPECT_EQ(app.audio[0].size, std::numeric_limits<UINT32>::max());
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(IncomingMedia, HandsOverAudioInEveryState) {
    negotiate(trickleConfig());
    for (const UINT32 state : {1U, 2U, 3U, 4U, 5U, 6U}) {
        connection().fireState(state);
        connection().audio().fireFrame(frame);
    }
    EXPECT_EQ(app.audio.size(), 6U);
}

TEST_F(IncomingMedia, HandsOverAudioOnTheSdksThread) {
    negotiate(trickleConfig());
    std::thread::id sdkThread;
    onAnotherThread([&] {
        sdkThread = std::this_thread::get_id();
        connection().audio().fireFrame(frame);
    });
    EXPECT_EQ(app.lastThread, sdkThread);
}

TEST_F(IncomingMedia, DropsAudioAfterTheEndOfTheCallWithoutALine) {
    negotiate(trickleConfig());
    session->teminate();
    sdk.forget();
    connection().audio().fireFrame(frame);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(IncomingMedia, DropsAudioWithoutACallbackWithoutALine) {
    negotiate(trickleConfig(), nullptr);
    connection().audio().fireFrame(frame);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(IncomingMedia, LooksAtTheEndOfTheCallOnceForEachAudioFrame) {
    negotiate(trickleConfig());
    sdk.watchFlag(&member(*session, terminated_Tag()), "terminated_");
    sdk.watchFlag(&member(*session, connected_Tag()), "connected_");
    connection().audio().fireFrame(frame);
    EXPECT_THAT(journal(), ElementsAre("load terminated_", "app 7 onAudioFrame 160 bytes"));
}

TEST_F(IncomingMedia, OnlyLogsVideo) {
    negotiate(trickleConfig());
    frame.trackId = 5;
    frame.size = 1200;
    frame.flags = FRAME_FLAG_KEY_FRAME;
    connection().video().fireFrame(frame);
    EXPECT_EQ(lines(), Lines{line(1, "%s(): Video Frame received. TrackId: %llu, Size: %u, Flags %u",
                                  "onVideoFrameHandler", 5ULL, 1200U, 1U)});
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(IncomingMedia, LogsVideoAfterTheEndOfTheCallAndWithoutACallbackToo) {
    negotiate(trickleConfig(), nullptr);
    session->teminate();
    sdk.forget();
    sdk.watchFlag(&member(*session, terminated_Tag()), "terminated_");
    connection().video().fireFrame(frame);
    EXPECT_THAT(journal(), ElementsAre("log 1 onVideoFrameHandler(): Video Frame received. TrackId: 0, Size: 160, "
                                       "Flags 0"));
}

TEST_F(IncomingMedia, LogsTheWholeRangeOfAVideoFramesFields) {
    negotiate(trickleConfig());
    frame.trackId = std::numeric_limits<UINT64>::max();
    frame.size = std::numeric_limits<UINT32>::max();
    frame.flags = static_cast<FRAME_FLAGS>(3);
    connection().video().fireFrame(frame);
    EXPECT_EQ(lines(),
              Lines{line(1, "%s(): Video Frame received. TrackId: %llu, Size: %u, Flags %u", "onVideoFrameHandler",
                         std::numeric_limits<unsigned long long>::max(), std::numeric_limits<UINT32>::max(), 3U)});
}

class BandwidthFeedback : public IncomingMedia {};

TEST_F(BandwidthFeedback, IsOnlyLoggedFromWhicheverTrackItComes) {
    negotiate(trickleConfig());
    const Members before(*session);
    connection().video().fireBandwidth(512000.5);
    connection().audio().fireBandwidth(512000.5);
    const LogLine expected =
        line(1, "%s(): session %d. received bitrate suggestion: %f", "onBandwidthEstimation", kSid, 512000.5);
    EXPECT_EQ(lines(), (Lines{expected, expected}));
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_EQ(Members(*session), before);
}

TEST_F(BandwidthFeedback, IsLoggedWhateverItsValue) {
    negotiate(trickleConfig());
    for (const double value : {0.0, -1.0, 1e15, 0.0000001}) {
        sdk.forget();
        connection().video().fireBandwidth(value);
        EXPECT_EQ(lines(), Lines{line(1, "%s(): session %d. received bitrate suggestion: %f", "onBandwidthEstimation",
                                      kSid, value)});
    }
}

TEST_F(BandwidthFeedback, IsLoggedAfterTheEndOfTheCallAndWithoutACallbackToo) {
    negotiate(trickleConfig(), nullptr);
    session->teminate();
    sdk.forget();
    sdk.watchFlag(&member(*session, terminated_Tag()), "terminated_");
    connection().audio().fireBandwidth(1);
    EXPECT_THAT(journal(),
                ElementsAre("log 1 onBandwidthEstimation(): session 7. received bitrate suggestion: 1.000000"));
}

TEST_F(BandwidthFeedback, OfTheSenderHasNoEffectAtAll) {
    negotiate(trickleConfig());
    const Members before(*session);
    sdk.watchFlag(&member(*session, terminated_Tag()), "terminated_");
    connection().fireSenderBandwidth();
    EXPECT_THAT(journal(), IsEmpty());
    EXPECT_EQ(Members(*session), before);
}

}  // namespace
}  // namespace zelrtc::test
