#include "access_units.h"

#include <gst/app/gstappsink.h>

namespace zelrtc::test {

namespace {

std::vector<std::vector<uint8_t>> encode() {
    std::vector<std::vector<uint8_t>> kUnits;
    gst_init(nullptr, nullptr);
    GstElement* const pipeline = gst_parse_launch(
        "videotestsrc pattern=ball num-buffers=60 ! video/x-raw,width=160,height=120,framerate=30/1 ! "
        "x264enc tune=zerolatency speed-preset=ultrafast key-int-max=15 bitrate=300 ! "
        "video/x-h264,profile=constrained-baseline,stream-format=byte-stream,alignment=au ! "
        "appsink name=sink sync=false",
        nullptr);
    GstElement* const sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    while (GstSample* const sample = gst_app_sink_pull_sample(GST_APP_SINK(sink))) {
        GstBuffer* const buffer = gst_sample_get_buffer(sample);
        std::vector<uint8_t> unit(gst_buffer_get_size(buffer));
        gst_buffer_extract(buffer, 0, unit.data(), unit.size());
        kUnits.push_back(unit);
        gst_sample_unref(sample);
    }
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(sink);
    gst_object_unref(pipeline);
    return kUnits;
}

}  // namespace

const std::vector<std::vector<uint8_t>>& accessUnits() {
    static const std::vector<std::vector<uint8_t>> kUnits = encode();
    return kUnits;
}

}  // namespace zelrtc::test
