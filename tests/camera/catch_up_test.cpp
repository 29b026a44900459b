#include "media/catch_up.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace zelrtc::camera {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Le;

constexpr int64_t kPictureUs = 40000;

/** Takes what a session would take: nothing before it is connected, and a key frame first. */
class Viewer : public FrameSink {
public:
    bool onVideo(const AccessUnit& unit) override {
        ++offered_;
        isOpen_ = isConnected && (isOpen_ || unit.isKeyFrame);
        if (isOpen_) {
            numbers.push_back(static_cast<int>(unit.timeUs / kPictureUs));
        }
        return isOpen_;
    }
    void onAudio(const AudioFrame&) override {
    }

    /** How many units were offered since it was asked the last time. */
    int offered() {
        return std::exchange(offered_, 0);
    }

    bool isConnected = true;
    std::vector<int> numbers;

private:
    bool isOpen_ = false;
    int offered_ = 0;
};

class CatchUpTest : public ::testing::Test {
protected:
    static constexpr int kGroup = 30;

    /** The source's next picture, a key frame for every thirtieth. */
    void comes() {
        uint8_t byte = 0;
        newest_ = group_.add({1, &byte, 1, number_ * kPictureUs, number_ % kGroup == 0});
        ++number_;
    }

    /** The same, for the viewer as well. @return how many units it was offered */
    int comesToViewer() {
        comes();
        catchUp_.onUnit(newest_, group_, viewer_);
        return viewer_.offered();
    }

    void startInTheMiddle() {
        while (number_ < kGroup / 2) {
            comes();
        }
    }

    static std::vector<int> pictures(int first, int last) {
        std::vector<int> numbers(static_cast<size_t>(last - first + 1));
        std::iota(numbers.begin(), numbers.end(), first);
        return numbers;
    }

    PictureGroup group_;
    std::shared_ptr<KeptUnit> newest_;
    int64_t number_ = 0;
    Viewer viewer_;
    CatchUp catchUp_;
};

TEST_F(CatchUpTest, AViewerFromTheStartIsLive) {
    for (int picture = 0; picture < 5; ++picture) {
        EXPECT_EQ(comesToViewer(), 1);
    }
    EXPECT_EQ(viewer_.numbers, pictures(0, 4));
}

TEST_F(CatchUpTest, InTheMiddleTheKeyFrameComesFirstAndAtOnce) {
    startInTheMiddle();
    comesToViewer();
    EXPECT_THAT(viewer_.numbers, ElementsAre(0));
}

TEST_F(CatchUpTest, NothingIsLeftOutOrSentTwiceOnTheWayToLive) {
    startInTheMiddle();
    for (int picture = 0; picture < 4 * kGroup; ++picture) {
        comesToViewer();
    }
    EXPECT_EQ(viewer_.numbers, pictures(0, static_cast<int>(number_) - 1));
}

TEST_F(CatchUpTest, ItTakesTwiceTheTimeThatTheViewerIsBehind) {
    startInTheMiddle();
    const int behind = static_cast<int>(number_);
    int pictures = 0;
    do {
        comesToViewer();
        ++pictures;
    } while (viewer_.numbers.back() != number_ - 1);
    EXPECT_NEAR(pictures, 2 * behind, 3);
}

TEST_F(CatchUpTest, NoMoreThanThreeUnitsGoOutForTwoThatCome) {
    startInTheMiddle();
    comesToViewer();
    int before = comesToViewer();
    for (int picture = 0; picture < 2 * kGroup; ++picture) {
        const int now = comesToViewer();
        EXPECT_THAT(before + now, Le(3));
        before = now;
    }
}

TEST_F(CatchUpTest, TheKeyFrameIsOfferedUntilTheViewerTakesIt) {
    viewer_.isConnected = false;
    for (int picture = 0; picture < 5; ++picture) {
        EXPECT_EQ(comesToViewer(), 1);
    }
    viewer_.isConnected = true;
    comesToViewer();
    EXPECT_THAT(viewer_.numbers, ElementsAre(0));
}

TEST_F(CatchUpTest, AViewerThatComesBackStartsWithTheGroupOfNow) {
    comesToViewer();
    viewer_.isConnected = false;
    while (number_ < kGroup + 5) {
        comesToViewer();
    }
    viewer_.isConnected = true;
    viewer_.numbers.clear();
    for (int picture = 0; picture < kGroup; ++picture) {
        comesToViewer();
    }
    EXPECT_EQ(viewer_.numbers, pictures(kGroup, static_cast<int>(number_) - 1));
}

TEST_F(CatchUpTest, WithoutAGroupTheViewerWaitsForTheNextKeyFrame) {
    number_ = 5;
    for (int picture = 5; picture < kGroup; ++picture) {
        EXPECT_EQ(comesToViewer(), 0);
    }
    comesToViewer();
    EXPECT_THAT(viewer_.numbers, ElementsAre(kGroup));
}

TEST_F(CatchUpTest, AfterTheSourceStartedAnewTheViewerWaitsForAKeyFrame) {
    startInTheMiddle();
    comesToViewer();
    comesToViewer();
    viewer_.numbers.clear();
    group_.startAnew();
    while (number_ < kGroup) {
        comesToViewer();
    }
    EXPECT_THAT(viewer_.numbers, IsEmpty());
    comesToViewer();
    comesToViewer();
    EXPECT_EQ(viewer_.numbers, pictures(kGroup, kGroup + 1));
}

TEST_F(CatchUpTest, AGroupThatIsDroppedMeanwhileStillReachesWhoHasBegunIt) {
    startInTheMiddle();
    comesToViewer();
    const PictureGroup dropped;
    for (int picture = 0; picture < 2 * kGroup; ++picture) {
        comes();
        catchUp_.onUnit(newest_, dropped, viewer_);
    }
    EXPECT_EQ(viewer_.numbers, pictures(0, static_cast<int>(number_) - 1));
}

}  // namespace
}  // namespace zelrtc::camera
