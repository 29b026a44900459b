/** Owners for GStreamer's reference-counted objects. */
#ifndef APPS_VIEWER_GST_HANDLES_H
#define APPS_VIEWER_GST_HANDLES_H

#include <gst/gst.h>
#include <gst/webrtc/webrtc.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace zelrtc::viewer {

template <auto release>
struct ReleaseWith {
    template <typename Thing>
    void operator()(Thing* thing) const {
        release(thing);
    }
};

using ElementRef = std::unique_ptr<GstElement, ReleaseWith<&gst_object_unref>>;
using ObjectRef = std::unique_ptr<GObject, ReleaseWith<&g_object_unref>>;
using PadRef = std::unique_ptr<GstPad, ReleaseWith<&gst_object_unref>>;
using CapsRef = std::unique_ptr<GstCaps, ReleaseWith<&gst_caps_unref>>;
using PromiseRef = std::unique_ptr<GstPromise, ReleaseWith<&gst_promise_unref>>;
using SampleRef = std::unique_ptr<GstSample, ReleaseWith<&gst_sample_unref>>;
using DescriptionRef = std::unique_ptr<GstWebRTCSessionDescription, ReleaseWith<&gst_webrtc_session_description_free>>;

/** Takes ownership of the text and returns a copy; empty for null. */
inline std::string takeText(gchar* text) {
    std::string copy = text == nullptr ? "" : text;
    g_free(text);
    return copy;
}

/** A bin from a pipeline description, its open ends as pads. @throws std::runtime_error with GStreamer's reason */
inline GstElement* makeBin(const std::string& description) {
    GError* error = nullptr;
    GstElement* bin = gst_parse_bin_from_description(description.c_str(), TRUE, &error);
    if (error == nullptr) {
        return bin;
    }
    const std::string reason = error->message;
    g_error_free(error);
    throw std::runtime_error(reason);
}

/** A pad of the bin's element with this name. Both must exist. */
inline PadRef padOf(GstElement* bin, const char* element, const char* pad) {
    const ElementRef owner(gst_bin_get_by_name(GST_BIN(bin), element));
    return PadRef(gst_element_get_static_pad(owner.get(), pad));
}

}  // namespace zelrtc::viewer

#endif
