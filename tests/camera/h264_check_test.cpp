#include "media/h264_check.h"

#include <gmock/gmock.h>
#include <gst/app/gstappsink.h>
#include <gst/gst.h>

#include <algorithm>

#include <string>
#include <vector>

namespace zelrtc::camera {
namespace {

using ::testing::HasSubstr;

using Bytes = std::vector<uint8_t>;

/** What comes out of an encoder with these settings, access unit by access unit. */
std::vector<Bytes> encoded(const std::string& encoder, const std::string& caps = "stream-format=byte-stream") {
    gst_init(nullptr, nullptr);
    const std::string text =
        "videotestsrc num-buffers=12 pattern=ball ! video/x-raw,width=64,height=64,framerate=30/1 ! x264enc " +
        encoder + " ! video/x-h264," + caps + " ! appsink name=out sync=false";
    GstElement* pipeline = gst_parse_launch(text.c_str(), nullptr);
    GstElement* out = gst_bin_get_by_name(GST_BIN(pipeline), "out");
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    std::vector<Bytes> units;
    while (GstSample* sample = gst_app_sink_pull_sample(GST_APP_SINK(out))) {
        GstMapInfo map;
        gst_buffer_map(gst_sample_get_buffer(sample), &map, GST_MAP_READ);
        units.emplace_back(map.data, map.data + map.size);
        gst_buffer_unmap(gst_sample_get_buffer(sample), &map);
        gst_sample_unref(sample);
    }
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(out);
    gst_object_unref(pipeline);
    return units;
}

std::string complaintOf(const std::vector<Bytes>& units) {
    H264Check check;
    std::string all;
    for (const Bytes& unit : units) {
        all += check.complaint(unit.data(), unit.size()).value_or("");
    }
    return all;
}

constexpr const char* kBaseline = "stream-format=byte-stream,profile=constrained-baseline";
constexpr const char* kMain = "stream-format=byte-stream,profile=main";

TEST(H264CheckTest, ABaselineStreamIsFine) {
    EXPECT_EQ(complaintOf(encoded("tune=zerolatency", kBaseline)), "");
}

TEST(H264CheckTest, BFramesAreNamed) {
    EXPECT_THAT(complaintOf(encoded("bframes=2 b-adapt=false", kMain)), HasSubstr("B frames"));
}

TEST(H264CheckTest, AProfileBeyondBaselineIsNamedWithoutBFrames) {
    const std::string complaint = complaintOf(encoded("tune=zerolatency bframes=0", kMain));
    EXPECT_THAT(complaint, HasSubstr("profile"));
    EXPECT_THAT(complaint, ::testing::Not(HasSubstr("B frames")));
}

TEST(H264CheckTest, AvcFormIsNamed) {
    EXPECT_THAT(complaintOf(encoded("tune=zerolatency", "stream-format=avc")), HasSubstr("Annex B"));
}

TEST(H264CheckTest, MissingParameterSetsAreNamed) {
    Bytes keyFrame = encoded("tune=zerolatency", kBaseline).front();
    const Bytes startOfSlice{0, 0, 1, 0x65};
    const auto slice = std::search(keyFrame.begin(), keyFrame.end(), startOfSlice.begin(), startOfSlice.end());
    ASSERT_NE(slice, keyFrame.end());
    EXPECT_THAT(complaintOf({Bytes(slice, keyFrame.end())}), HasSubstr("parameter sets"));
}

TEST(H264CheckTest, EachIsSaidOnce) {
    const auto units = encoded("tune=zerolatency bframes=0", kMain);
    H264Check check;
    EXPECT_TRUE(check.complaint(units.front().data(), units.front().size()));
    EXPECT_FALSE(check.complaint(units.front().data(), units.front().size()));
}

}  // namespace
}  // namespace zelrtc::camera
