// How long a viewer looks at nothing, and what it gets then.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "camera_process.h"
#include "clip_file.h"
#include "key_frame_waits.h"
#include "scratch_folder.h"
#include "viewer_process.h"

namespace zelrtc::test {
namespace {

using nlohmann::json;
using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::Lt;
using ::testing::SizeIs;

constexpr auto kBetweenViewers = 700ms;
constexpr int kLaterViewers = 4;
// A key frame every four seconds: without one at hand, hardly a viewer sees anything within the first.
constexpr const char* kFourSecondsApart = "key-int-max=120";
constexpr std::chrono::milliseconds kMost = 1s;

class FirstPicture : public ::testing::Test {
protected:
    static std::vector<std::string> clipOnStream(int stream, const std::string& path) {
        makeClip(path, kFourSecondsApart);
        return {"--video-file", std::to_string(stream) + "=" + path};
    }

    ScratchFolder folder_;
};

TEST_F(FirstPicture, OfAFileComesAtOnceWheneverTheViewerDoes) {
    const CameraProcess camera(clipOnStream(1, folder_.file("clip.h264")));
    ViewerProcess first(camera.url(), {"--keep", "--no-decode"});
    ASSERT_TRUE(camera.hasConnectedCalls(1));
    for (int viewer = 1; viewer <= kLaterViewers; ++viewer) {
        ASSERT_TRUE(camera.firstCallLasts(kBetweenViewers * viewer));
        const auto outcome = view(camera.url(), {"--seconds", "1.5"});
        ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);
        EXPECT_GE(outcome.call().at("video").at("decoded").get<int>() + 3, outcome.call().at("video").at("frames"));
    }
    EXPECT_THAT(keyFrameWaits(camera.log()), AllOf(SizeIs(1 + kLaterViewers), Each(Lt(kMost))));
    first.hangUp();
}

TEST_F(FirstPicture, OfAFileComesAtOnceToWhoChangesToIt) {
    const CameraProcess camera(clipOnStream(2, folder_.file("clip.h264")));
    ViewerProcess first(camera.url(), {"--keep", "--no-decode", "--stream", "2"});
    ASSERT_TRUE(camera.hasConnectedCalls(1));
    ASSERT_TRUE(camera.firstCallLasts(1.5s));
    const auto outcome = view(camera.url(), {"--seconds", "2", "--switch-at", "0.5:2"});
    ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);
    const json& sizes = outcome.call().at("video").at("sizes");
    ASSERT_EQ(sizes.size(), 2U) << sizes;
    EXPECT_EQ(sizes[1].at("width"), 320);
    EXPECT_EQ(sizes[1].at("keyFrame"), true);
    EXPECT_LT(sizes[1].at("ms").get<double>() - outcome.call().at("streams")[0].at("ms").get<double>(),
              static_cast<double>(kMost.count()));
    first.hangUp();
}

}  // namespace
}  // namespace zelrtc::test
