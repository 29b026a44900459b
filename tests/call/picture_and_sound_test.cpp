// Whole calls: what the viewer sees and hears, and what the camera hears.

#include <gtest/gtest.h>

#include <sstream>
#include <utility>

#include "camera_process.h"
#include "scratch_folder.h"
#include "sdk_limits.h"
#include "viewer_process.h"
#include "wav_file.h"

namespace zelrtc::test {
namespace {

using nlohmann::json;
using namespace std::chrono_literals;

using Arguments = std::vector<std::string>;

constexpr double kCameraTone = 440;
constexpr double kViewerTone = 700;
constexpr double kMostDelayMs = 500;

json sizeOf(const json& change) {
    return {change.at("width"), change.at("height")};
}

class AnswerStyle : public ::testing::TestWithParam<const char*> {
protected:
    Arguments with(Arguments arguments) const {
        if (*GetParam() != '\0') {
            arguments.emplace_back(GetParam());
        }
        return arguments;
    }

    CameraProcess camera_;
};

INSTANTIATE_TEST_SUITE_P(Both, AnswerStyle, ::testing::Values("", "--no-trickle"),
                         [](const auto& style) { return *style.param == '\0' ? "Trickle" : "CompleteAnswer"; });

TEST_P(AnswerStyle, BringsTheStartingStreamFromAKeyFrameOn) {
    ViewerProcess viewer(camera_.url(), with({"--keep"}));
    EXPECT_TRUE(viewer.getsPictures(120));
    const auto outcome = viewer.hangUp();
    ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);

    const json& video = outcome.call().at("video");
    EXPECT_GE(video.at("keyFrames"), 4);
    EXPECT_GE(video.at("decoded"), video.at("frames").get<int>() - 5);
    EXPECT_TRUE(couldReadItsPictures(outcome));
    ASSERT_EQ(video.at("sizes").size(), 1U);
    EXPECT_EQ(sizeOf(video.at("sizes")[0]), json({640, 360}));
    EXPECT_EQ(video.at("sizes")[0].at("keyFrame"), true);
    EXPECT_LT(video.at("ageMs").at("p95"), 1000);
    EXPECT_EQ(outcome.call().at("failure"), nullptr);
}

TEST_P(AnswerStyle, CarriesSoundBothWays) {
    const ScratchFolder folder;
    const std::string heard = folder.file("heard.wav");
    const auto outcome = view(camera_.url(), with({"--seconds", "4", "--record", heard}));
    ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);

    const WavFile atViewer = readWav(heard);
    EXPECT_GT(atViewer.seconds(), 2.5);
    EXPECT_GT(atViewer.level(), 0.02);
    EXPECT_GT(atViewer.shareAt(kCameraTone), 0.8);
    EXPECT_LT(atViewer.shareAt(kViewerTone), 0.1);

    ASSERT_TRUE(camera_.hasNoCalls(sdkLimit("release")));
    const WavFile atCamera = readWav(camera_.recording(outcome.call().at("id")));
    EXPECT_EQ(atCamera.samplesPerSecond, 8000U);
    EXPECT_GT(atCamera.seconds(), 2.5);
    EXPECT_GT(atCamera.level(), 0.02);
    EXPECT_GT(atCamera.shareAt(kViewerTone), 0.8);
    EXPECT_LT(atCamera.shareAt(kCameraTone), 0.1);
}

// A player goes by these reports when it brings picture and sound together.
TEST_P(AnswerStyle, ReportsWhenPictureAndSoundWereCaptured) {
    const ScratchFolder folder;
    const std::string path = folder.file("timeline");
    const auto outcome = view(camera_.url(), with({"--seconds", "6", "--timeline", path}));
    ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);

    std::istringstream lines(readFile(path));
    int seconds = 0;
    for (std::string line; std::getline(lines, line);) {
        const json second = json::parse(line);
        if (second.at("pictureDelayMs").is_number() && second.at("soundDelayMs").is_number()) {
            ++seconds;
            EXPECT_NEAR(second.at("pictureDelayMs").get<double>(), 0, kMostDelayMs) << line;
            EXPECT_NEAR(second.at("soundDelayMs").get<double>(), 0, kMostDelayMs) << line;
        }
    }
    EXPECT_GE(seconds, 2) << readFile(path);
}

TEST_P(AnswerStyle, SwitchesStreamsAtAKeyFrameOfTheNewSize) {
    ViewerProcess viewer(camera_.url(), with({"--keep"}));
    ASSERT_TRUE(viewer.getsWidth(640));
    for (const auto& [stream, width] : {std::pair(2, 320), std::pair(0, 1280)}) {
        const auto selected = camera_.post(camera_.callPath(1) + "/streams", json{{"video", stream}}.dump());
        ASSERT_TRUE(selected);
        EXPECT_EQ(selected->status, 200) << selected->body;
        ASSERT_TRUE(viewer.getsWidth(width));
    }
    const auto outcome = viewer.hangUp();
    ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);

    const json& sizes = outcome.call().at("video").at("sizes");
    ASSERT_EQ(sizes.size(), 3U) << sizes;
    EXPECT_EQ(sizeOf(sizes[1]), json({320, 180}));
    EXPECT_EQ(sizeOf(sizes[2]), json({1280, 720}));
    for (const json& size : sizes) {
        EXPECT_EQ(size.at("keyFrame"), true) << size;
    }
    EXPECT_TRUE(couldReadItsPictures(outcome));
}

TEST_P(AnswerStyle, ServesTwoViewersAtOnceEachItsOwnStream) {
    ViewerProcess first(camera_.url(), with({"--keep", "--stream", "0"}));
    ViewerProcess second(camera_.url(), with({"--seconds", "3", "--stream", "2"}));
    EXPECT_TRUE(camera_.hasConnectedCalls(2));

    const auto secondOutcome = second.finish();
    const auto firstOutcome = first.hangUp();
    ASSERT_EQ(firstOutcome.status, 0) << firstOutcome.report.dump(2);
    ASSERT_EQ(secondOutcome.status, 0) << secondOutcome.report.dump(2);
    EXPECT_NE(firstOutcome.call().at("id"), secondOutcome.call().at("id"));
    EXPECT_EQ(firstOutcome.call().at("video").at("width"), 1280);
    EXPECT_EQ(secondOutcome.call().at("video").at("width"), 320);
}

TEST(ManyViewers, FourInOneProgramAllSeeThePicture) {
    CameraProcess camera;
    const auto outcome = view(camera.url(), {"--seconds", "3", "--calls", "4", "--no-decode"});
    EXPECT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_EQ(outcome.report.at("calls").size(), 4U);
}

TEST(SilentViewer, GetsPictureAndSoundWithoutSendingAny) {
    CameraProcess camera;
    const auto outcome = view(camera.url(), {"--seconds", "2", "--no-talk"});
    EXPECT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_EQ(outcome.call().at("audio").at("sent"), 0);
    EXPECT_EQ(outcome.call().at("audio").at("heard"), 0);
}

TEST(WhepPlayer, GetsPictureAndSound) {
    CameraProcess camera;
    const auto complete = view(camera.url(), {"--seconds", "2", "--whep", "--no-trickle"});
    EXPECT_EQ(complete.status, 0) << complete.report.dump(2);
    const auto trickled = view(camera.url(), {"--seconds", "2", "--whep"});
    EXPECT_EQ(trickled.status, 0) << trickled.report.dump(2);
    EXPECT_TRUE(camera.hasNoCalls(sdkLimit("release")));
}

}  // namespace
}  // namespace zelrtc::test
