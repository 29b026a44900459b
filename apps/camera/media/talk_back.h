/** @file talk_back.h The viewer's voice: taken on an SDK thread, recorded and measured on another. */
#ifndef APPS_CAMERA_MEDIA_TALK_BACK_H
#define APPS_CAMERA_MEDIA_TALK_BACK_H

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "media/real_time.h"
#include "media/recording_budget.h"
#include "media/wav_writer.h"

namespace zelrtc::camera {

/** The audio of one viewer. A camera with a loudspeaker would play it where this one records. */
class TalkBack {
public:
    /**
     * @param wavPath where to record, empty: nowhere. The file is created with the first sound.
     * @param budget  what recordings may take; outlives this
     */
    TalkBack(std::string wavPath, RecordingBudget& budget);

    /**
     * Takes a frame of mu-law samples. The SDK's thread. Copies and returns; drops data beyond 10 s of backlog, and
     * what comes faster than anybody speaks.
     */
    void push(const void* data, size_t size, RealTime::Clock::time_point now = RealTime::Clock::now());

    /** Loudness since the last measurement. */
    struct Level {
        double rms;      /**< 0 to 1 */
        uint64_t frames; /**< received since the call began */
    };

    /** Records and measures what has arrived. @return nothing if nothing has. One thread at a time. */
    std::optional<Level> process();

private:
    void record(const std::vector<int16_t>& samples);
    bool openRecording();
    void stopRecording();

    std::string wavPath_;
    RecordingBudget& budget_;
    std::optional<WavWriter> wav_;
    std::mutex mutex_;  // guards those below
    RealTime realTime_;
    bool hasRushed_ = false;
    std::vector<uint8_t> arrived_;
    uint64_t frames_ = 0;
};

}  // namespace zelrtc::camera

#endif
