/** @file video_source.h One of the camera's H.264 streams: an encoder that runs only while somebody watches. */
#ifndef APPS_CAMERA_MEDIA_VIDEO_SOURCE_H
#define APPS_CAMERA_MEDIA_VIDEO_SOURCE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "media/audio_source.h"
#include "media/key_frame_pace.h"

namespace zelrtc::camera {

/** Where a stream's picture comes from. */
struct VideoInput {
    enum class Kind { kTestPattern, kFile, kPipeline, kRtsp };
    Kind kind = Kind::kTestPattern;
    /** Path of an H.264 file (Annex B), a GStreamer pipeline that ends in H.264, or the URL of an IP camera. */
    std::string text;
};

/** Settings of the built-in encoder. */
struct VideoFormat {
    size_t width;
    size_t height;
    unsigned kilobitsPerSecond;
};

/** One encoded frame. The memory is valid only during the sink's call. */
struct AccessUnit {
    int stream;      /**< number of its stream */
    uint8_t* data;   /**< Annex B; a key frame begins with its parameter sets */
    size_t size;     /**< bytes in data */
    int64_t timeUs;  /**< when the picture was captured, on the monotonic clock */
    bool isKeyFrame; /**< decoding can start here */
};

/** Initialises GStreamer. Call it once, before the first VideoSource. */
void initVideo();

/**
 * One stream. start and stop from one thread at a time; requestKeyFrame and isRunning from any thread, including inside
 * the sink.
 */
class VideoSource {
public:
    /** Whoever takes what comes from a source, on the source's threads, which they block while they run. */
    struct Sinks {
        std::function<void(const AccessUnit&)> picture;
        AudioSource::Sink sound;                           /**< of a camera that has some */
        std::function<void(const std::string&)> failure;   /**< why it has stopped; what it holds goes with stop */
        std::function<void(const std::string&)> complaint; /**< what viewers will not be able to show */
    };

    /**
     * Builds the pipeline once, to report mistakes early; nothing runs yet.
     * @throw std::runtime_error with a message for the user if the pipeline cannot be built
     */
    VideoSource(int stream, const VideoInput& input, const VideoFormat& format, Sinks sinks);
    ~VideoSource();
    VideoSource(const VideoSource&) = delete;
    VideoSource& operator=(const VideoSource&) = delete;

    /** Starts the encoder; does nothing if it is running. @return false if it cannot be started */
    bool start();

    /** Stops the encoder, waits for a sink call in progress and frees all that the encoder held. */
    void stop();

    /**
     * Makes a frame soon a key frame if the stream runs and its encoder takes requests: the next one, unless there have
     * been two in the last second.
     */
    void requestKeyFrame();

    bool isRunning() const {
        return running_;
    }

    /** @return whether a request brings a key frame at once, so that nobody has to keep the last ones */
    bool makesKeyFrames() const {
        return input_.kind == VideoInput::Kind::kTestPattern;
    }

    /** @return whether it runs without viewers too, because connecting to it and its first key frame take seconds */
    bool runsAlways() const {
        return input_.kind == VideoInput::Kind::kRtsp;
    }

private:
    class Pipeline;

    int stream_;
    VideoInput input_;
    VideoFormat format_;
    Sinks sinks_;
    KeyFramePace keyFrames_;
    std::atomic<bool> running_{false};
    std::unique_ptr<Pipeline> pipeline_;
};

}  // namespace zelrtc::camera

#endif
