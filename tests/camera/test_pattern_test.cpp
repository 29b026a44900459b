#include "media/test_pattern.h"

#include <gmock/gmock.h>

#include <vector>

namespace zelrtc::camera {
namespace {

constexpr size_t kWidth = 640;
constexpr size_t kHeight = 360;
constexpr uint8_t kBright = 128;

// A picture that owns its memory; its lines end in padding that must not be touched.
class Canvas {
public:
    Canvas(size_t width, size_t height) : width_(width), height_(height) {
        planes_[0].assign((width + kPadding) * height, kUntouched);
        planes_[1].assign((width / 2 + kPadding) * height / 2, kUntouched);
        planes_[2] = planes_[1];
    }
    Picture picture() {
        return {{planes_[0].data(), width_ + kPadding},
                {planes_[1].data(), width_ / 2 + kPadding},
                {planes_[2].data(), width_ / 2 + kPadding}};
    }
    uint8_t luma(size_t x, size_t y) const {
        return planes_[0][y * (width_ + kPadding) + x];
    }
    bool isPaddingUntouched() const {
        for (size_t y = 0; y < height_; ++y) {
            for (size_t x = width_; x < width_ + kPadding; ++x) {
                if (luma(x, y) != kUntouched) {
                    return false;
                }
            }
        }
        return true;
    }
    uint32_t strip() const {
        uint32_t value = 0;
        for (size_t cell = 0; cell < 32; ++cell) {
            const size_t x = cell * width_ / 32 + width_ / 64;
            value = value << 1 | (luma(x, height_ - height_ / 24) > kBright ? 1U : 0U);
        }
        return value;
    }

private:
    static constexpr size_t kPadding = 32;
    static constexpr uint8_t kUntouched = 7;

    size_t width_;
    size_t height_;
    std::vector<uint8_t> planes_[3];
};

TEST(TestPatternTest, TheStripHoldsTheTimeOfCapture) {
    for (const uint32_t time : {0U, 1U, 0x80000000U, 0xdeadbeefU, 0xffffffffU}) {
        Canvas canvas(kWidth, kHeight);
        TestPattern(kWidth, kHeight).draw(canvas.picture(), time, "12:34:56");
        EXPECT_EQ(canvas.strip(), time);
    }
}

TEST(TestPatternTest, EverySizeIsDrawnInsideItsLines) {
    for (const auto& [width, height] : {std::pair<size_t, size_t>(1280, 720), {640, 360}, {320, 180}}) {
        Canvas canvas(width, height);
        TestPattern(width, height).draw(canvas.picture(), 0xa5a5a5a5U, "23:59:59");
        EXPECT_EQ(canvas.strip(), 0xa5a5a5a5U);
        EXPECT_TRUE(canvas.isPaddingUntouched());
    }
}

TEST(TestPatternTest, EightBarsGetDarkerFromLeftToRight) {
    Canvas canvas(kWidth, kHeight);
    TestPattern(kWidth, kHeight).draw(canvas.picture(), 0, "00:00:00");
    for (size_t bar = 1; bar < 8; ++bar) {
        EXPECT_LT(canvas.luma(bar * 80 + 40, 0), canvas.luma(bar * 80 - 40, 0)) << "bar " << bar;
    }
}

TEST(TestPatternTest, TheBlockMoves) {
    Canvas one(kWidth, kHeight);
    Canvas other(kWidth, kHeight);
    TestPattern(kWidth, kHeight).draw(one.picture(), 1000, "00:00:00");
    TestPattern(kWidth, kHeight).draw(other.picture(), 1033, "00:00:00");
    size_t different = 0;
    for (size_t x = 0; x < kWidth; ++x) {
        different += one.luma(x, kHeight / 2 + 10) != other.luma(x, kHeight / 2 + 10) ? 1 : 0;
    }
    EXPECT_GT(different, 0U);
}

TEST(TestPatternTest, TheClockShowsItsTime) {
    Canvas one(kWidth, kHeight);
    Canvas other(kWidth, kHeight);
    TestPattern(kWidth, kHeight).draw(one.picture(), 0, "11:11:11");
    TestPattern(kWidth, kHeight).draw(other.picture(), 0, "88:88:88");
    size_t litInOne = 0;
    size_t litInOther = 0;
    for (size_t y = kHeight / 8; y < kHeight / 4; ++y) {
        for (size_t x = kWidth / 4; x < kWidth * 3 / 4; ++x) {
            litInOne += one.luma(x, y) == kWhite.y ? 1 : 0;
            litInOther += other.luma(x, y) == kWhite.y ? 1 : 0;
        }
    }
    EXPECT_GT(litInOne, 0U);
    EXPECT_GT(litInOther, 2 * litInOne);
}

}  // namespace
}  // namespace zelrtc::camera
