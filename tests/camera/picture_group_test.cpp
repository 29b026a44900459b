#include "media/picture_group.h"

#include <gmock/gmock.h>

#include <vector>

namespace zelrtc::camera {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::chrono_literals;

constexpr int64_t kStepUs = 40000;

class PictureGroupTest : public ::testing::Test {
protected:
    void add(bool isKeyFrame, size_t size = 10) {
        std::vector<uint8_t> data(size, static_cast<uint8_t>(number_));
        group_.add({1, data.data(), data.size(), number_ * kStepUs, isKeyFrame});
        ++number_;
    }

    std::vector<int> kept() {
        std::vector<int> numbers;
        for (const auto& unit : group_.units()) {
            numbers.push_back(*unit->unit().data);
        }
        return numbers;
    }

    PictureGroup group_{{100, 200ms}};
    int64_t number_ = 0;
};

TEST_F(PictureGroupTest, NothingIsKeptBeforeTheFirstKeyFrame) {
    add(false);
    add(false);
    EXPECT_THAT(kept(), IsEmpty());
    EXPECT_FALSE(group_.isAtHand());
}

TEST_F(PictureGroupTest, EverythingFromTheNewestKeyFrameOnIsKeptInOrder) {
    for (const bool isKeyFrame : {true, false, true, false, false}) {
        add(isKeyFrame);
    }
    EXPECT_THAT(kept(), ElementsAre(2, 3, 4));
    EXPECT_TRUE(group_.isAtHand());
}

TEST_F(PictureGroupTest, AUnitKeepsItsBytesItsTimeAndItsStream) {
    add(true, 30);
    const AccessUnit unit = group_.units().front()->unit();
    EXPECT_EQ(unit.size, 30U);
    EXPECT_EQ(unit.timeUs, 0);
    EXPECT_EQ(unit.stream, 1);
    EXPECT_TRUE(unit.isKeyFrame);
}

TEST_F(PictureGroupTest, AGroupOfTooManyBytesIsDroppedUntilTheNextKeyFrame) {
    add(true, 60);
    add(false, 40);
    EXPECT_THAT(kept(), ElementsAre(0, 1));
    add(false, 1);
    EXPECT_THAT(kept(), IsEmpty());
    EXPECT_FALSE(group_.isAtHand());
    add(false, 1);
    EXPECT_THAT(kept(), IsEmpty());
    add(true, 100);
    EXPECT_THAT(kept(), ElementsAre(4));
}

TEST_F(PictureGroupTest, AGroupOfTooLongATimeIsDroppedUntilTheNextKeyFrame) {
    add(true, 1);
    for (int picture = 1; picture <= 5; ++picture) {
        add(false, 1);
    }
    EXPECT_THAT(kept(), ElementsAre(0, 1, 2, 3, 4, 5));
    add(false, 1);
    EXPECT_THAT(kept(), IsEmpty());
    add(true, 1);
    EXPECT_TRUE(group_.isAtHand());
}

TEST_F(PictureGroupTest, ASourceThatStartsAnewContinuesNoGroup) {
    add(true);
    const unsigned before = group_.source();
    group_.startAnew();
    add(false);
    EXPECT_THAT(kept(), IsEmpty());
    EXPECT_FALSE(group_.isAtHand());
    EXPECT_NE(group_.source(), before);
}

}  // namespace
}  // namespace zelrtc::camera
