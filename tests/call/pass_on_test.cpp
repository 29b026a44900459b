// What the headless viewer passes on to a media server, and what it does when the server asks for a key frame.

#include <gtest/gtest.h>

#include "camera_process.h"
#include "rtp_receiver.h"
#include "sdk_limits.h"
#include "viewer_process.h"

namespace zelrtc::test {
namespace {

using nlohmann::json;
using namespace std::chrono_literals;

constexpr auto kLimit = 20s;
constexpr uint32_t kTicksASecond = 90000;

class PassOn : public ::testing::Test {
protected:
    ViewerProcess feeder(const std::string& addresses) const {
        return {camera_.url(), {"--keep", "--pass-on", addresses}};
    }

    // Until a key frame has come and requests have an address to go to.
    bool hasBegun() {
        return video_.receiveUntil([this] { return !video_.keyFrames().empty() && video_.reports() > 0; },
                                   sdkLimit("connect"));
    }

    bool hasKeyFrames(size_t count) {
        return video_.receiveUntil([&] { return video_.keyFrames().size() >= count; }, kLimit);
    }

    const CameraProcess camera_;
    RtpReceiver video_;
    RtpReceiver audio_;
};

TEST_F(PassOn, SendsPictureAndSoundAsTheyCameUntilInterrupted) {
    ViewerProcess viewer = feeder(video_.address() + "," + audio_.address());
    EXPECT_TRUE(video_.receiveUntil([this] { return video_.packets() >= 60; }, kLimit));
    EXPECT_TRUE(audio_.receiveUntil([this] { return audio_.packets() >= 60; }, kLimit));
    const auto outcome = viewer.hangUp();
    EXPECT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_EQ(video_.payloadTypes(), std::set<int>{96});
    EXPECT_EQ(audio_.payloadTypes(), std::set<int>{0});
    for (const RtpReceiver* receiver : {&video_, &audio_}) {
        EXPECT_EQ(receiver->sources().size(), 1U);
        EXPECT_EQ(receiver->gaps(), 0U);
    }
    const json& passedOn = outcome.call().at("passedOn");
    EXPECT_GE(passedOn.at("video").get<uint64_t>(), video_.packets());
    EXPECT_GE(passedOn.at("audio").get<uint64_t>(), audio_.packets());
    EXPECT_EQ(passedOn.at("keyFramesAsked"), 0);
    EXPECT_GT(outcome.call().at("video").at("frames"), 0);
    EXPECT_EQ(outcome.call().at("video").at("decoded"), 0);
    EXPECT_EQ(outcome.call().at("audio").at("sent"), 0);
}

TEST_F(PassOn, SendsNoSoundWhereNobodyWantsAny) {
    ViewerProcess viewer = feeder(video_.address());
    EXPECT_TRUE(video_.receiveUntil([this] { return video_.packets() >= 60; }, kLimit));
    const auto outcome = viewer.hangUp();
    EXPECT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_EQ(outcome.call().at("passedOn").at("audio"), 0);
    EXPECT_GT(outcome.call().at("audio").at("received"), 0);
}

TEST_F(PassOn, BringsAKeyFrameSoonWhenTheServerAsks) {
    ViewerProcess viewer = feeder(video_.address());
    ASSERT_TRUE(hasBegun());
    // By itself the camera makes one each second, so one that comes sooner has been asked for.
    for (int request = 0; request < 3; ++request) {
        const size_t before = video_.keyFrames().size();
        ASSERT_TRUE(hasKeyFrames(before + 1));
        video_.askForKeyFrame();
        ASSERT_TRUE(hasKeyFrames(before + 2));
        EXPECT_LT(video_.keyFrames()[before + 1] - video_.keyFrames()[before], kTicksASecond * 9 / 10);
    }
    EXPECT_GE(viewer.hangUp().call().at("passedOn").at("keyFramesAsked"), 3);
}

TEST_F(PassOn, PassesOnNoMoreThanTwoRequestsASecond) {
    ViewerProcess viewer = feeder(video_.address());
    ASSERT_TRUE(hasBegun());
    const auto start = std::chrono::steady_clock::now();
    const uint64_t first = video_.packets();
    while (video_.packets() < first + 90) {
        video_.askForKeyFrame();
        const uint64_t last = video_.packets();
        ASSERT_TRUE(video_.receiveUntil([&] { return video_.packets() > last; }, kLimit));
    }
    const auto outcome = viewer.hangUp();
    const std::chrono::duration<double> lasted = std::chrono::steady_clock::now() - start;
    const int asked = outcome.call().at("passedOn").at("keyFramesAsked");
    EXPECT_GE(asked, 2);
    EXPECT_LE(asked, 2 * lasted.count() + 1);
}

}  // namespace
}  // namespace zelrtc::test
