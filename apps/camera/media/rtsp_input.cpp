#include "media/rtsp_input.h"

#include <gst/app/gstappsink.h>

#include <utility>

#include "media/gst_owned.h"

namespace zelrtc::camera {

// TCP, because a lost packet would show until the next key frame; whole access units, because a parser that has to find
// their ends itself holds each one back until the next begins.
std::string rtspPipelineText() {
    return "rtspsrc name=remote protocols=tcp latency=100 "
           "remote. ! rtppcmudepay ! appsink name=sound sync=false async=false max-buffers=50 drop=true "
           "remote. ! rtph264depay ! video/x-h264,stream-format=byte-stream,alignment=au";
}

RtspInput::RtspInput(GstElement* pipeline, const std::string& url, AudioSource::Sink sound)
    : pipeline_(pipeline), sound_(std::move(sound)) {
    const auto remote = findIn(pipeline, "remote");
    g_object_set(remote.get(), "location", url.c_str(), nullptr);
    g_signal_connect(remote.get(), "select-stream", G_CALLBACK(onSelectStream), this);
    GstAppSinkCallbacks callbacks = {};
    callbacks.new_sample = [](GstAppSink* sink, gpointer self) { return onSound(GST_ELEMENT(sink), self); };
    gst_app_sink_set_callbacks(GST_APP_SINK(findIn(pipeline, "sound").get()), &callbacks, this, nullptr);
}

std::string RtspInput::refusal() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return hasPicture_ || otherPicture_.empty() ? "" : "the camera sends " + otherPicture_ + ", not H.264";
}

gboolean RtspInput::onSelectStream(GstElement*, guint, GstCaps* caps, gpointer self) {
    return static_cast<RtspInput*>(self)->isWanted(gst_caps_get_structure(caps, 0)) ? TRUE : FALSE;
}

bool RtspInput::isWanted(const GstStructure* stream) {
    const gchar* media = gst_structure_get_string(stream, "media");
    const gchar* encoding = gst_structure_get_string(stream, "encoding-name");
    if (g_strcmp0(media, "audio") == 0) {
        return g_strcmp0(encoding, "PCMU") == 0;
    }
    const bool isH264 = g_strcmp0(media, "video") == 0 && g_strcmp0(encoding, "H264") == 0;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (isH264) {
        return !std::exchange(hasPicture_, true);
    }
    otherPicture_ = encoding != nullptr ? encoding : "something";
    return false;
}

GstFlowReturn RtspInput::onSound(GstElement* sink, gpointer self) {
    auto* input = static_cast<RtspInput*>(self);
    GstSample* sample = gst_app_sink_pull_sample(GST_APP_SINK(sink));
    if (sample == nullptr) {
        return GST_FLOW_EOS;
    }
    GstMapInfo map;
    if (gst_buffer_map(gst_sample_get_buffer(sample), &map, GST_MAP_READ) != FALSE) {
        input->sound_({map.data, map.size, captureTimeUs(input->pipeline_, sample)});
        gst_buffer_unmap(gst_sample_get_buffer(sample), &map);
    }
    gst_sample_unref(sample);
    return GST_FLOW_OK;
}

}  // namespace zelrtc::camera
