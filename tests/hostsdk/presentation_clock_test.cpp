#include <gtest/gtest.h>

#include "engine/media_sender.h"

namespace zelrtc::test {

using zelrtc::hostsdk::PresentationClock;

namespace {

// Presentation times are in units of 100 ns, running times in nanoseconds.
constexpr UINT64 kTicksPerSecond = 10000000;

}  // namespace

TEST(PresentationClock, keepsTheDifferencesOfATrack) {
    PresentationClock clock;
    std::optional<gint64> track;
    const GstClockTime first = clock.toRunningTime(5 * kTicksPerSecond, 7 * GST_SECOND, &track);
    EXPECT_EQ(first, 7 * GST_SECOND);
    EXPECT_EQ(clock.toRunningTime(6 * kTicksPerSecond, 9 * GST_SECOND, &track), first + GST_SECOND);
    EXPECT_EQ(clock.toRunningTime(5 * kTicksPerSecond, 9 * GST_SECOND, &track), first);
}

TEST(PresentationClock, putsTracksOfOneTimelineTogether) {
    PresentationClock clock;
    std::optional<gint64> video;
    std::optional<gint64> audio;
    clock.toRunningTime(5 * kTicksPerSecond, 7 * GST_SECOND, &video);
    // The audio frame captured at the same moment is written 300 ms later.
    EXPECT_EQ(clock.toRunningTime(5 * kTicksPerSecond, 7 * GST_SECOND + 300 * GST_MSECOND, &audio), 7 * GST_SECOND);
}

TEST(PresentationClock, givesATrackWithAnotherTimelineItsOwn) {
    PresentationClock clock;
    std::optional<gint64> video;
    std::optional<gint64> audio;
    clock.toRunningTime(5000 * kTicksPerSecond, 7 * GST_SECOND, &video);
    EXPECT_EQ(clock.toRunningTime(0, 8 * GST_SECOND, &audio), 8 * GST_SECOND);
}

TEST(PresentationClock, startsAgainWhereTheTimelineWouldBecomeNegative) {
    PresentationClock clock;
    std::optional<gint64> track;
    clock.toRunningTime(5000 * kTicksPerSecond, 7 * GST_SECOND, &track);
    EXPECT_EQ(clock.toRunningTime(0, 8 * GST_SECOND, &track), 8 * GST_SECOND);
}

TEST(PresentationClock, putsNoTrackIntoTheFutureWhenTheFirstBeginsWithAnOldFrame) {
    PresentationClock clock;
    std::optional<gint64> video;
    std::optional<gint64> audio;
    // The picture was taken three seconds ago; the sound is of now.
    clock.noteCapture(97 * kTicksPerSecond, 10 * GST_SECOND, 100 * GST_SECOND);
    EXPECT_EQ(clock.toRunningTime(97 * kTicksPerSecond, 10 * GST_SECOND, &video), 7 * GST_SECOND);
    EXPECT_EQ(clock.toRunningTime(100 * kTicksPerSecond, 10 * GST_SECOND, &audio), 10 * GST_SECOND);
}

TEST(PresentationClock, doesNotTakeAnotherClockForTheMonotonicOne) {
    PresentationClock clock;
    std::optional<gint64> video;
    clock.noteCapture(50 * kTicksPerSecond, 10 * GST_SECOND, 100 * GST_SECOND);
    EXPECT_EQ(clock.toRunningTime(50 * kTicksPerSecond, 10 * GST_SECOND, &video), 10 * GST_SECOND);
}

}  // namespace zelrtc::test
