#include "media/video_source.h"

#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <gst/video/video.h>

#include <array>
#include <ctime>
#include <optional>
#include <stdexcept>

#include "media/gst_owned.h"
#include "media/h264_check.h"
#include "media/rtsp_input.h"
#include "media/test_pattern.h"

namespace zelrtc::camera {

namespace {

constexpr int kFramesPerSecond = 30;

// Baseline without B-frames or look-ahead: every browser decodes it and it adds no delay. One slice per frame.
std::string testPatternText(const VideoFormat& format) {
    return "videotestsrc name=picture is-live=true pattern=black ! video/x-raw,format=I420,width=" +
           std::to_string(format.width) + ",height=" + std::to_string(format.height) +
           ",framerate=" + std::to_string(kFramesPerSecond) +
           "/1,colorimetry=bt601 ! x264enc tune=zerolatency speed-preset=ultrafast threads=1 sliced-threads=false "
           "bframes=0 "
           "key-int-max=" +
           std::to_string(kFramesPerSecond) + " bitrate=" + std::to_string(format.kilobitsPerSecond) +
           " ! video/x-h264,profile=constrained-baseline";
}

// Whatever the input: each key frame carries its parameter sets, and each buffer is one access unit.
std::string pipelineText(const VideoInput& input, const VideoFormat& format) {
    std::string source = testPatternText(format);
    if (input.kind == VideoInput::Kind::kFile) {
        source = "multifilesrc name=file loop=true caps=\"video/x-h264,stream-format=byte-stream\"";
    } else if (input.kind == VideoInput::Kind::kPipeline) {
        source = input.text;
    } else if (input.kind == VideoInput::Kind::kRtsp) {
        source = rtspPipelineText();
    }
    return source +
           " ! h264parse name=parser config-interval=-1 ! video/x-h264,stream-format=byte-stream,alignment=au"
           " ! appsink name=frames max-buffers=8";
}

Plane planeOf(GstVideoFrame& frame, guint number) {
    return {static_cast<uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, number)),
            static_cast<size_t>(GST_VIDEO_FRAME_PLANE_STRIDE(&frame, number))};
}

std::string timeOfDay() {
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    localtime_r(&now, &parts);
    std::array<char, sizeof "HH:MM:SS"> text{};
    std::strftime(text.data(), text.size(), "%H:%M:%S", &parts);
    return text.data();
}

void drawInto(GstBuffer* buffer, const GstVideoInfo& info, const TestPattern& picture) {
    GstVideoFrame frame;
    if (gst_video_frame_map(&frame, &info, buffer, GST_MAP_WRITE) == FALSE) {
        return;
    }
    const auto captureMs = static_cast<uint32_t>(g_get_monotonic_time() / 1000);
    picture.draw({planeOf(frame, 0), planeOf(frame, 1), planeOf(frame, 2)}, captureMs, timeOfDay());
    gst_video_frame_unmap(&frame);
}

}  // namespace

void initVideo() {
    gst_init(nullptr, nullptr);
}

// A built pipeline and what its callbacks need. Never moved: its address is their user data.
class VideoSource::Pipeline {
public:
    explicit Pipeline(VideoSource& source) : source_(source), picture_(source.format_.width, source.format_.height) {
        GError* error = nullptr;
        pipeline_.reset(gst_parse_launch(pipelineText(source.input_, source.format_).c_str(), &error));
        const std::string reason = error != nullptr ? error->message : "";
        g_clear_error(&error);
        if (!pipeline_ || !reason.empty()) {
            throw std::runtime_error(reason);
        }
        const Owned<GstClock> clock(gst_system_clock_obtain());
        gst_pipeline_use_clock(GST_PIPELINE(pipeline_.get()), clock.get());
        appsink_ = findIn(pipeline_.get(), "frames");
        connectFrames();
        connectPicture();
        connectFile();
        connectRemote();
        connectCheck();
        connectBus();
    }

    ~Pipeline() {
        gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
    }

    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    bool play() {
        return gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
    }

private:
    void connectFrames() {
        GstAppSinkCallbacks callbacks = {};
        callbacks.new_sample = [](GstAppSink*, gpointer self) { return static_cast<Pipeline*>(self)->handOver(); };
        gst_app_sink_set_callbacks(GST_APP_SINK(appsink_.get()), &callbacks, this, nullptr);
        // A live source paces itself; anything else follows its timestamps.
        const bool isLive =
            source_.input_.kind == VideoInput::Kind::kTestPattern || source_.input_.kind == VideoInput::Kind::kRtsp;
        g_object_set(appsink_.get(), "sync", isLive ? FALSE : TRUE, nullptr);
    }

    void connectPicture() {
        if (source_.input_.kind != VideoInput::Kind::kTestPattern) {
            return;
        }
        gst_video_info_set_format(&info_, GST_VIDEO_FORMAT_I420, static_cast<guint>(source_.format_.width),
                                  static_cast<guint>(source_.format_.height));
        addProbe(findIn(pipeline_.get(), "picture").get(), "src", [](GstPad*, GstPadProbeInfo* probe, gpointer self) {
            auto& pipeline = *static_cast<Pipeline*>(self);
            if (pipeline.isOvertaken(GST_PAD_PROBE_INFO_BUFFER(probe))) {
                return GST_PAD_PROBE_DROP;
            }
            GstBuffer* buffer = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(probe));
            GST_PAD_PROBE_INFO_DATA(probe) = buffer;
            // Before encoding, so that this picture becomes the key frame, not the next one.
            pipeline.forwardKeyFrameRequest();
            drawInto(buffer, pipeline.info_, pipeline.picture_);
            return GST_PAD_PROBE_OK;
        });
    }

    // The next picture is due already. An encoder that cannot keep up leaves pictures out, since each one that it did
    // make would come later than the one before.
    bool isOvertaken(const GstBuffer* buffer) const {
        const GstClockTime now = gst_element_get_current_running_time(pipeline_.get());
        return GST_CLOCK_TIME_IS_VALID(now) && now >= GST_BUFFER_PTS(buffer) + GST_BUFFER_DURATION(buffer);
    }

    void connectFile() {
        if (source_.input_.kind != VideoInput::Kind::kFile) {
            return;
        }
        g_object_set(findIn(pipeline_.get(), "file").get(), "location", escaped(source_.input_.text).c_str(), nullptr);
        addProbe(appsink_.get(), "sink", [](GstPad* pad, GstPadProbeInfo* probe, gpointer self) {
            GstBuffer* buffer = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(probe));
            GST_PAD_PROBE_INFO_DATA(probe) = buffer;
            static_cast<Pipeline*>(self)->stamp(pad, buffer);
            return GST_PAD_PROBE_OK;
        });
    }

    void connectRemote() {
        if (source_.input_.kind == VideoInput::Kind::kRtsp) {
            remote_.emplace(pipeline_.get(), source_.input_.text, source_.sinks_.sound);
        }
    }

    // Before the parser, which lets nothing pass that it cannot read. What comes in other forms is looked at behind it.
    void connectCheck() {
        if (source_.makesKeyFrames() || source_.input_.kind == VideoInput::Kind::kFile) {
            return;
        }
        addProbe(findIn(pipeline_.get(), "parser").get(), "sink",
                 [](GstPad* pad, GstPadProbeInfo* probe, gpointer self) {
                     GstMapInfo map;
                     GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(probe);
                     if (holdsWholeUnits(pad) && gst_buffer_map(buffer, &map, GST_MAP_READ) != FALSE) {
                         static_cast<Pipeline*>(self)->look(map);
                         gst_buffer_unmap(buffer, &map);
                     }
                     return GST_PAD_PROBE_OK;
                 });
    }

    static bool holdsWholeUnits(GstPad* pad) {
        GstCaps* caps = gst_pad_get_current_caps(pad);
        if (caps == nullptr) {
            return false;
        }
        const GstStructure* form = gst_caps_get_structure(caps, 0);
        const bool isAnnexB = g_strcmp0(gst_structure_get_string(form, "stream-format"), "byte-stream") == 0;
        const bool isAligned = gst_structure_has_field(form, "alignment") != FALSE;
        gst_caps_unref(caps);
        return isAnnexB && isAligned;
    }

    void look(const GstMapInfo& map) {
        if (const auto complaint = check_.complaint(map.data, map.size)) {
            source_.sinks_.complaint(*complaint);
        }
    }

    void connectBus() {
        const Owned<GstBus> bus(gst_element_get_bus(pipeline_.get()));
        gst_bus_set_sync_handler(bus.get(), onMessage, this, nullptr);
    }

    static GstBusSyncReply onMessage(GstBus*, GstMessage* message, gpointer self) {
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
            GError* error = nullptr;
            gst_message_parse_error(message, &error, nullptr);
            static_cast<Pipeline*>(self)->fail(error->message);
            g_error_free(error);
        } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
            static_cast<Pipeline*>(self)->fail("it has come to its end");
        }
        gst_message_unref(message);
        return GST_BUS_DROP;
    }

    void fail(const std::string& reason) {
        const std::string refusal = remote_ ? remote_->refusal() : "";
        source_.sinks_.failure(refusal.empty() ? reason : refusal);
    }

    void addProbe(GstElement* element, const char* padName, GstPadProbeCallback probe) {
        const Owned<GstPad> pad(gst_element_get_static_pad(element, padName));
        gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, probe, this, nullptr);
    }

    // The element takes a file name for a pattern of numbered files.
    static std::string escaped(const std::string& path) {
        std::string text;
        for (const char c : path) {
            text.append(c == '%' ? 2 : 1, c);
        }
        return text;
    }

    // An Annex B file has no timestamps and restarts at its end, so the frame rate sets the time.
    void stamp(GstPad* pad, GstBuffer* buffer) {
        gint rate = 0;
        gint per = 1;
        GstCaps* caps = gst_pad_get_current_caps(pad);
        if (caps != nullptr) {
            gst_structure_get_fraction(gst_caps_get_structure(caps, 0), "framerate", &rate, &per);
            gst_caps_unref(caps);
        }
        const GstClockTime duration =
            gst_util_uint64_scale_int(GST_SECOND, rate > 0 ? per : 1, rate > 0 ? rate : kFramesPerSecond);
        GST_BUFFER_PTS(buffer) = nextTime_;
        GST_BUFFER_DTS(buffer) = nextTime_;
        GST_BUFFER_DURATION(buffer) = duration;
        nextTime_ += duration;
    }

    GstFlowReturn handOver() {
        GstSample* sample = gst_app_sink_pull_sample(GST_APP_SINK(appsink_.get()));
        if (sample == nullptr) {
            return GST_FLOW_EOS;
        }
        GstBuffer* buffer = gst_sample_get_buffer(sample);
        GstMapInfo map;
        if (gst_buffer_map(buffer, &map, GST_MAP_READ) != FALSE) {
            if (!source_.makesKeyFrames()) {
                look(map);
            }
            const bool isKeyFrame = !GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
            if (isKeyFrame) {
                source_.keyFrames_.onKeyFrame(KeyFramePace::Clock::now());
            }
            source_.sinks_.picture(
                {source_.stream_, map.data, map.size, captureTimeUs(pipeline_.get(), sample), isKeyFrame});
            gst_buffer_unmap(buffer, &map);
        }
        gst_sample_unref(sample);
        forwardKeyFrameRequest();
        return GST_FLOW_OK;
    }

    // On the stream's own thread, so that a request never reaches a pipeline that is being torn down.
    void forwardKeyFrameRequest() {
        if (!source_.keyFrames_.takeDue(KeyFramePace::Clock::now())) {
            return;
        }
        GstEvent* request = gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, TRUE, 0);
        gst_element_send_event(appsink_.get(), request);
    }

    VideoSource& source_;
    TestPattern picture_;
    GstVideoInfo info_ = {};
    GstClockTime nextTime_ = 0;
    H264Check check_;
    std::optional<RtspInput> remote_;
    Owned<GstElement> pipeline_;
    Owned<GstElement> appsink_;
};

VideoSource::VideoSource(int stream, const VideoInput& input, const VideoFormat& format, Sinks sinks)
    : stream_(stream), input_(input), format_(format), sinks_(std::move(sinks)) {
    try {
        const Pipeline trial(*this);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error("video stream " + std::to_string(stream) + ": " + error.what());
    }
}

VideoSource::~VideoSource() {
    stop();
}

bool VideoSource::start() {
    if (running_) {
        return true;
    }
    keyFrames_.restart();
    pipeline_ = std::make_unique<Pipeline>(*this);
    if (!pipeline_->play()) {
        pipeline_.reset();
        return false;
    }
    running_ = true;
    return true;
}

void VideoSource::stop() {
    pipeline_.reset();
    running_ = false;
}

void VideoSource::requestKeyFrame() {
    keyFrames_.request();
}

}  // namespace zelrtc::camera
