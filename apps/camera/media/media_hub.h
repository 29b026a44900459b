/** @file media_hub.h Distributes the streams to the calls: one encoder per stream, however many watch it. */
#ifndef APPS_CAMERA_MEDIA_MEDIA_HUB_H
#define APPS_CAMERA_MEDIA_MEDIA_HUB_H

#include <array>
#include <memory>
#include <mutex>
#include <vector>

#include "media/audio_source.h"
#include "media/video_source.h"

namespace zelrtc::camera {

constexpr int kVideoStreams = 3;

/** Receives frames, on the sources' threads; video and audio may arrive at the same time. */
class FrameSink {
public:
    virtual ~FrameSink() = default;
    virtual void onVideo(const AccessUnit& unit) = 0;
    virtual void onAudio(const AudioFrame& frame) = 0;
};

/**
 * The camera's sources. A source runs only while somebody takes its frames. Any thread, but attach and detach wait for
 * encoders to start and stop: never call them from a sink, nor while holding a lock that a sink takes.
 */
class MediaHub {
public:
    /** @throw std::runtime_error with a message for the user if a stream cannot be built */
    MediaHub(const std::array<VideoInput, kVideoStreams>& inputs, std::vector<uint8_t> audioLoop);

    /** Attaches a sink to the sound and to one stream, instead of any other. */
    void attach(const std::shared_ptr<FrameSink>& sink, int stream);

    /** Detaches a sink; a frame already in flight may still arrive. Without effect if it is not attached. */
    void detach(const std::shared_ptr<FrameSink>& sink);

    /** Makes a stream's next frame a key frame, or one soon after: no second holds more than two. */
    void requestKeyFrame(int stream);

    int runningEncoders() const;

private:
    struct Viewer {
        std::shared_ptr<FrameSink> sink;
        int stream;
    };

    using Sinks = std::vector<std::shared_ptr<FrameSink>>;

    template <typename Condition>
    Sinks sinksWhere(Condition condition);
    Sinks sinksOf(int stream);
    Sinks allSinks();
    void runWhatIsWanted();

    std::mutex sourcesMutex_;  // held while sources start and stop
    std::mutex viewersMutex_;  // held only briefly, also by the sources' threads
    std::vector<Viewer> viewers_;
    std::array<std::unique_ptr<VideoSource>, kVideoStreams> video_;
    AudioSource audio_;
};

}  // namespace zelrtc::camera

#endif
