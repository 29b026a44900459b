/** @file gst_owned.h What the pipelines of this room share. */
#ifndef APPS_CAMERA_MEDIA_GST_OWNED_H
#define APPS_CAMERA_MEDIA_GST_OWNED_H

#include <gst/gst.h>

#include <cstdint>
#include <memory>

namespace zelrtc::camera {

template <typename Object>
struct Unref {
    void operator()(Object* object) const {
        gst_object_unref(object);
    }
};

template <typename Object>
using Owned = std::unique_ptr<Object, Unref<Object>>;

inline Owned<GstElement> findIn(GstElement* pipeline, const char* name) {
    return Owned<GstElement>(gst_bin_get_by_name(GST_BIN(pipeline), name));
}

/** Microseconds on the monotonic clock, which the pipeline runs on; its running time counts from when it began. */
inline int64_t captureTimeUs(GstElement* pipeline, GstSample* sample) {
    const GstClockTime time = GST_BUFFER_PTS(gst_sample_get_buffer(sample));
    const GstClockTime running = gst_segment_to_running_time(gst_sample_get_segment(sample), GST_FORMAT_TIME, time);
    if (!GST_CLOCK_TIME_IS_VALID(running)) {
        return g_get_monotonic_time();
    }
    return static_cast<int64_t>((running + gst_element_get_base_time(pipeline)) / GST_USECOND);
}

}  // namespace zelrtc::camera

#endif
