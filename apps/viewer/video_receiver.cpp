#include "video_receiver.h"

#include <gst/video/video.h>

#include "packet_delay.h"
#include "picture_clock.h"

namespace zelrtc::viewer {
namespace {

constexpr const char* kCountChain =
    "rtph264depay name=packets request-keyframe=true ! video/x-h264,stream-format=byte-stream,alignment=au ! "
    "h264parse name=parsed ! ";
constexpr const char* kDecodeEnd =
    "queue ! avdec_h264 max-threads=1 ! video/x-raw,format=I420 ! appsink name=pictures sync=false async=false";
constexpr const char* kCountEnd = "fakesink sync=false async=false";

uint32_t monotonicMilliseconds() {
    return static_cast<uint32_t>(g_get_monotonic_time() / 1000);
}

}  // namespace

VideoReceiver::VideoReceiver(CallStatistics& statistics, bool decode)
    : statistics_(statistics), bin_(gst::makeBin(std::string(kCountChain) + (decode ? kDecodeEnd : kCountEnd))) {
    const gst::GstPtr<GstPad> packets = gst::padOf(bin_, "packets", "sink");
    gst_pad_add_probe(packets.get(), GST_PAD_PROBE_TYPE_BUFFER, &VideoReceiver::onPacket, this, nullptr);
    const gst::GstPtr<GstPad> parsed = gst::padOf(bin_, "parsed", "src");
    gst_pad_add_probe(parsed.get(),
                      static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM),
                      &VideoReceiver::onParsed, this, nullptr);
    if (decode) {
        gst::handleSamples(gst::elementOf(bin_, "pictures").get(), [this](GstAppSink* sink) { takePicture(sink); });
    }
}

// The packets of a frame have one time.
GstPadProbeReturn VideoReceiver::onPacket(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer self) {
    auto* receiver = static_cast<VideoReceiver*>(self);
    GstBuffer* const packet = GST_PAD_PROBE_INFO_BUFFER(info);
    receiver->statistics_.videoPacketReceived(packetDelayMs(packet));
    if (GST_BUFFER_PTS(packet) != receiver->begunFrame_) {
        receiver->begunFrame_ = GST_BUFFER_PTS(packet);
        receiver->statistics_.frameBegan();
    }
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn VideoReceiver::onParsed(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer self) {
    auto* receiver = static_cast<VideoReceiver*>(self);
    if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0) {
        GstBuffer* frame = GST_PAD_PROBE_INFO_BUFFER(info);
        const bool keyFrame = !GST_BUFFER_FLAG_IS_SET(frame, GST_BUFFER_FLAG_DELTA_UNIT);
        receiver->statistics_.frameReceived({gst_buffer_get_size(frame), keyFrame, receiver->size_});
    } else if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_CAPS) {
        GstCaps* caps = nullptr;
        gst_event_parse_caps(GST_PAD_PROBE_INFO_EVENT(info), &caps);
        receiver->takeSize(caps);
    }
    return GST_PAD_PROBE_OK;
}

void VideoReceiver::takeSize(const GstCaps* caps) {
    const GstStructure* structure = gst_caps_get_structure(caps, 0);
    gst_structure_get_int(structure, "width", &size_.width);
    gst_structure_get_int(structure, "height", &size_.height);
}

void VideoReceiver::takePicture(GstAppSink* sink) {
    const gst::GstPtr<GstSample> sample(gst_app_sink_pull_sample(sink));
    GstVideoInfo info;
    GstVideoFrame frame;
    if (sample == nullptr || !gst_video_info_from_caps(&info, gst_sample_get_caps(sample.get())) ||
        !gst_video_frame_map(&frame, &info, gst_sample_get_buffer(sample.get()), GST_MAP_READ)) {
        return;
    }
    const uint32_t now = monotonicMilliseconds();
    const LumaPlane luma{static_cast<const uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)),
                         static_cast<size_t>(GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0)),
                         static_cast<size_t>(GST_VIDEO_FRAME_WIDTH(&frame)),
                         static_cast<size_t>(GST_VIDEO_FRAME_HEIGHT(&frame))};
    statistics_.pictureDecoded(readPictureClock(luma), now);
    gst_video_frame_unmap(&frame);
}

}  // namespace zelrtc::viewer
