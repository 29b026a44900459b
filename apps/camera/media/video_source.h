/** @file video_source.h One of the camera's H.264 streams: an encoder that runs while somebody watches. */
#ifndef APPS_CAMERA_MEDIA_VIDEO_SOURCE_H
#define APPS_CAMERA_MEDIA_VIDEO_SOURCE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace zelrtc::camera {

/** What a stream shows. */
struct VideoInput {
    enum class Kind { kTestPattern, kFile, kPipeline };
    Kind kind = Kind::kTestPattern;
    std::string text; /**< path of an H.264 file (Annex B), or a GStreamer pipeline that ends in H.264 */
};

/** Size and rate of the built-in encoder for a stream. */
struct VideoFormat {
    size_t width;
    size_t height;
    unsigned kilobitsPerSecond;
};

/** One encoded frame, in memory that is valid only while it is handed over. */
struct AccessUnit {
    int stream;      /**< the number of the stream it comes from */
    uint8_t* data;   /**< Annex B; a key frame begins with its parameter sets */
    size_t size;     /**< bytes in data */
    int64_t timeUs;  /**< when the picture was captured, on the monotonic clock */
    bool isKeyFrame; /**< decoding can start here */
};

/** Prepares GStreamer. Once, before the first VideoSource. */
void initVideo();

/**
 * One stream. start and stop from one thread at a time; requestKeyFrame and isRunning from any thread, also from
 * inside the sink.
 */
class VideoSource {
public:
    /** Gets every frame, on the stream's own thread, which it holds up for as long as it takes. */
    using Sink = std::function<void(const AccessUnit&)>;

    /**
     * Builds the pipeline once, to find mistakes early; nothing runs yet.
     * @throw std::runtime_error with a sentence for the user when the pipeline cannot be built
     */
    VideoSource(int stream, const VideoInput& input, const VideoFormat& format, Sink sink);
    ~VideoSource();
    VideoSource(const VideoSource&) = delete;
    VideoSource& operator=(const VideoSource&) = delete;

    /** Starts the encoder; without effect while it runs. @return false when it cannot be started */
    bool start();

    /** Stops the encoder and waits for a sink that is at work; frees all that the encoder held. */
    void stop();

    /** Makes the next frame a key frame, if the stream is running and its encoder can be asked. */
    void requestKeyFrame();

    bool isRunning() const {
        return running_;
    }

private:
    class Pipeline;

    int stream_;
    VideoInput input_;
    VideoFormat format_;
    Sink sink_;
    std::atomic<bool> keyFrameWanted_{false};
    std::atomic<bool> running_{false};
    std::unique_ptr<Pipeline> pipeline_;
};

}  // namespace zelrtc::camera

#endif
