/** @file media_hub.h Distributes the streams to the calls: one encoder per stream, however many watch it. */
#ifndef APPS_CAMERA_MEDIA_MEDIA_HUB_H
#define APPS_CAMERA_MEDIA_MEDIA_HUB_H

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "media/audio_source.h"
#include "media/catch_up.h"
#include "media/frame_sink.h"
#include "media/picture_group.h"
#include "media/source_keeper.h"
#include "media/video_source.h"

namespace zelrtc::camera {

constexpr int kVideoStreams = 3;

/**
 * The camera's sources. A source runs only while somebody takes its frames, but for those that always run; one that
 * fails or ends is tried again. Any thread, but attach and detach wait for encoders to start and stop: never call them
 * from a sink, nor while holding a lock that a sink takes.
 */
class MediaHub {
public:
    /** @throw std::runtime_error with a message for the user if a stream cannot be built */
    MediaHub(const std::array<VideoInput, kVideoStreams>& inputs, std::vector<uint8_t> audioLoop);
    ~MediaHub();
    MediaHub(const MediaHub&) = delete;
    MediaHub& operator=(const MediaHub&) = delete;

    /**
     * Attaches a sink to the sound and to one stream, instead of any other. Of a stream that cannot make a key frame at
     * any time it gets the newest group of pictures first, as soon as it takes that.
     */
    void attach(const std::shared_ptr<FrameSink>& sink, int stream);

    /** Detaches a sink; a frame already in flight may still arrive. Without effect if it is not attached. */
    void detach(const std::shared_ptr<FrameSink>& sink);

    /**
     * Makes a stream's next frame a key frame, or one soon after: no second holds more than two. Without effect where
     * viewers start with the stream's newest group.
     */
    void requestKeyFrame(int stream);

    int runningEncoders() const;

    /** How the streams' sources are, in the order of their numbers. */
    std::vector<SourceState> sources() const {
        return keeper_.states();
    }

private:
    struct Viewer {
        std::shared_ptr<FrameSink> sink;
        int stream;
        std::shared_ptr<CatchUp> catchUp;
    };

    using Viewers = std::vector<Viewer>;

    VideoSource::Sinks sinksFor(int stream);
    void deliver(const AccessUnit& unit);
    void deliverSound(int stream, const AudioFrame& frame);
    void deliverLoop(const AudioFrame& frame);
    template <typename Condition>
    Viewers viewersWhere(Condition condition);
    Viewers viewersOf(int stream);
    Viewers allViewers();
    void runWhatIsWanted();
    void start(int stream);
    void restart(int stream);
    bool isWanted(int stream);
    void tell(int stream, const SourceState& state);

    std::mutex sourcesMutex_;  // held while sources start and stop
    bool isClosing_ = false;
    std::mutex viewersMutex_;  // held only briefly, also by the sources' threads
    Viewers viewers_;
    std::array<PictureGroup, kVideoStreams> groups_;
    std::array<std::atomic<bool>, kVideoStreams> hasSound_{};
    std::array<std::unique_ptr<VideoSource>, kVideoStreams> video_;
    AudioSource audio_;
    SourceKeeper keeper_;  // last, so that it goes first: it starts sources
};

}  // namespace zelrtc::camera

#endif
