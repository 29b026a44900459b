// The picture and the sound of an IP camera, which comes and goes as it likes.

#include "ip_camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "camera_process.h"
#include "key_frame_waits.h"
#include "scratch_folder.h"
#include "viewer_process.h"
#include "waiting.h"
#include "wav_file.h"

namespace zelrtc::test {
namespace {

using nlohmann::json;
using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::Lt;
using ::testing::SizeIs;

constexpr int kIpTone = 1000;
// The camera's own sound, heard where the IP camera has none.
constexpr int kLoopTone = 440;
constexpr auto kComesWithin = 20s;
constexpr int kPicturesAGroup = 60;
// Pauses grow only as long as the source fails again at once.
constexpr std::chrono::duration<double> kLongEnoughToRecover(2.5);

class IpCameraTest : public ::testing::Test {
protected:
    static std::vector<std::string> showing(const IpCamera& source) {
        return {"--video-rtsp", "1=" + source.url()};
    }

    static json sourceOf(const CameraProcess& camera) {
        return camera.get("/health").at("sources").at(1);
    }

    static bool is(const char* state, const CameraProcess& camera) {
        return eventually([&] { return sourceOf(camera).at("state") == state; }, kComesWithin);
    }

    static std::chrono::duration<double> secondsOfCall(const CameraProcess& camera) {
        return std::chrono::duration<double>(camera.get("/calls").at(0).at("seconds").get<double>());
    }

    static double shareHeard(const CameraProcess& camera, int hertz) {
        const ScratchFolder folder;
        const std::string heard = folder.file("heard.wav");
        const auto outcome = view(camera.url(), {"--seconds", "3", "--record", heard});
        EXPECT_EQ(outcome.status, 0) << outcome.report.dump(2);
        return readWav(heard).shareAt(hertz);
    }
};

TEST_F(IpCameraTest, ItsPictureComesAtOnceToEveryViewer) {
    constexpr int kViewers = 3;
    const IpCamera source(IpCamera::picture(4 * 30));
    const CameraProcess camera(showing(source));
    ASSERT_TRUE(is("running", camera));
    for (int viewer = 0; viewer < kViewers; ++viewer) {
        const auto outcome = view(camera.url(), {"--seconds", "1.5"});
        ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);
        EXPECT_EQ(outcome.call().at("video").at("width"), 320);
    }
    EXPECT_THAT(keyFrameWaits(camera.log()), AllOf(SizeIs(kViewers), Each(Lt(1s))));
}

TEST_F(IpCameraTest, ItsSoundIsHeardInsteadOfTheCamerasOwn) {
    const IpCamera source(IpCamera::picture(kPicturesAGroup) + IpCamera::tone(kIpTone));
    const CameraProcess camera(showing(source));
    ASSERT_TRUE(is("running", camera));
    EXPECT_GT(shareHeard(camera, kIpTone), 0.8);
}

TEST_F(IpCameraTest, WithoutSoundOfItsOwnTheCamerasIsHeard) {
    const IpCamera source(IpCamera::picture(kPicturesAGroup));
    const CameraProcess camera(showing(source));
    ASSERT_TRUE(is("running", camera));
    EXPECT_GT(shareHeard(camera, kLoopTone), 0.8);
}

TEST_F(IpCameraTest, FiveTimesOffAndOnLosesNoCallAndLeavesNothing) {
    IpCamera source(IpCamera::picture(kPicturesAGroup) + IpCamera::tone(kIpTone));
    const CameraProcess camera(showing(source));
    ViewerProcess viewer(camera.url(), {"--keep", "--no-decode"});
    ASSERT_TRUE(camera.hasConnectedCalls(1));
    ASSERT_TRUE(is("running", camera));
    int descriptors = 0;
    for (int cut = 1; cut <= 5; ++cut) {
        source.switchOff();
        ASSERT_TRUE(is("waiting", camera)) << "cut " << cut;
        EXPECT_NE(sourceOf(camera).at("reason"), "");
        source.switchOn();
        const auto start = std::chrono::steady_clock::now();
        ASSERT_TRUE(is("running", camera)) << "cut " << cut;
        const std::chrono::duration<double> black = std::chrono::steady_clock::now() - start;
        EXPECT_LT(black.count(), 3.0) << "cut " << cut;
        RecordProperty("backAfterSeconds" + std::to_string(cut), std::to_string(black.count()));
        ASSERT_TRUE(camera.firstCallLasts(secondsOfCall(camera) + kLongEnoughToRecover));
        if (cut == 1) {
            descriptors = camera.usage().descriptors;
        }
    }
    EXPECT_TRUE(eventually([&] { return camera.usage().descriptors <= descriptors; }, kComesWithin));
    EXPECT_GE(sourceOf(camera).at("failures"), 5);
    const auto outcome = viewer.hangUp();
    EXPECT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_GE(outcome.call().at("video").at("keyFrames"), 6);
}

TEST_F(IpCameraTest, OneThatIsNotThereYetIsShownWhenItComes) {
    IpCamera source(IpCamera::picture(kPicturesAGroup));
    source.switchOff();
    const CameraProcess camera(showing(source));
    ASSERT_TRUE(is("waiting", camera));
    ViewerProcess viewer(camera.url(), {"--keep", "--no-decode"});
    ASSERT_TRUE(camera.hasConnectedCalls(1));
    source.switchOn();
    ASSERT_TRUE(is("running", camera));
    EXPECT_TRUE(camera.logsEventually("video stream 1 is back", kComesWithin));
    EXPECT_TRUE(viewer.getsWidth(320));
    EXPECT_TRUE(camera.hasConnectedCalls(1));
    EXPECT_EQ(viewer.hangUp().status, 0);
}

TEST_F(IpCameraTest, APictureOfAnotherKindIsNamed) {
    const IpCamera source("videotestsrc is-live=true ! jpegenc ! rtpjpegpay name=pay0 pt=26");
    const CameraProcess camera(showing(source));
    EXPECT_TRUE(camera.logsEventually("the camera sends JPEG, not H.264", kComesWithin));
}

}  // namespace
}  // namespace zelrtc::test
