/** @file talk_back.h The viewer's voice: taken from the SDK's thread, recorded and measured on another. */
#ifndef APPS_CAMERA_MEDIA_TALK_BACK_H
#define APPS_CAMERA_MEDIA_TALK_BACK_H

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "media/wav_writer.h"

namespace zelrtc::camera {

/** The audio of one viewer. A camera with a loudspeaker would play it where this one records it. */
class TalkBack {
public:
    /** @param wavPath where to record; empty for nowhere. The file is made when the first sound arrives. */
    explicit TalkBack(std::string wavPath);

    /** Takes a frame of mu-law samples. The SDK's thread. Copies and returns; drops data beyond 10 s of backlog. */
    void push(const void* data, size_t size);

    /** How loud it was since the last time. */
    struct Level {
        double rms;      /**< 0 to 1 */
        uint64_t frames; /**< received since the call began */
    };

    /** Records what has arrived and measures it. @return nothing when nothing has arrived. One thread at a time. */
    std::optional<Level> process();

private:
    void record(const std::vector<int16_t>& samples);

    std::string wavPath_;
    std::optional<WavWriter> wav_;
    std::mutex mutex_;  // for the two below
    std::vector<uint8_t> arrived_;
    uint64_t frames_ = 0;
};

}  // namespace zelrtc::camera

#endif
