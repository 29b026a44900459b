/** @file audio_source.h The camera's sound: a loop of mu-law samples, paced by the clock. */
#ifndef APPS_CAMERA_MEDIA_AUDIO_SOURCE_H
#define APPS_CAMERA_MEDIA_AUDIO_SOURCE_H

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace zelrtc::camera {

/** 20 ms of sound. The memory is valid only during the sink's call. */
struct AudioFrame {
    uint8_t* data;  /**< mu-law */
    size_t size;    /**< bytes in data */
    int64_t timeUs; /**< when the first sample was captured, on the monotonic clock */
};

/** One second of the test tone: 440 Hz for 800 ms, then silence for 200 ms. */
std::vector<uint8_t> tonePattern();

/**
 * The samples of a raw mu-law file.
 * @throw std::runtime_error with a message for the user if it cannot be read or is shorter than one frame
 */
std::vector<uint8_t> readMulawFile(const std::string& path);

/** Plays the loop between start and stop, which one thread at a time may call. */
class AudioSource {
public:
    /** Receives every frame, on the source's own thread. */
    using Sink = std::function<void(const AudioFrame&)>;

    /** @param loop at least one frame of samples */
    AudioSource(std::vector<uint8_t> loop, Sink sink);
    ~AudioSource();
    AudioSource(const AudioSource&) = delete;
    AudioSource& operator=(const AudioSource&) = delete;

    /** Does nothing if already running. */
    void start();

    /** Waits for a sink call in progress. */
    void stop();

private:
    void run();
    void handOverNext(int64_t timeUs);

    std::vector<uint8_t> loop_;
    Sink sink_;
    size_t position_ = 0;
    std::mutex mutex_;
    std::condition_variable stopping_;
    bool stop_ = false;
    std::thread thread_;
};

}  // namespace zelrtc::camera

#endif
