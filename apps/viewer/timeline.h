/** @file timeline.h What arrived, second by second: for calls so long that one sum at their end says too little. */
#ifndef APPS_VIEWER_TIMELINE_H
#define APPS_VIEWER_TIMELINE_H

#include <cstdint>
#include <fstream>
#include <mutex>
#include <optional>
#include <string>

namespace zelrtc::viewer {

/** Writes a line of JSON for every second in which something arrived. Any thread. Times are CLOCK_MONOTONIC in ms. */
class Timeline {
public:
    enum class Medium { kPicture, kSound };

    /** @throws std::runtime_error if the file cannot be written */
    explicit Timeline(const std::string& path);
    /** Writes what the last second has so far. */
    ~Timeline();
    Timeline(const Timeline&) = delete;
    Timeline& operator=(const Timeline&) = delete;

    void frame(double nowMs, int width);
    /** `delayMs`: see packetDelayMs. Only the least of a second counts: whatever is in the way can only add to it. */
    void packet(Medium medium, double nowMs, std::optional<double> delayMs);

private:
    struct Second {
        int64_t number = 0;
        unsigned frames = 0;
        int width = 0;
        double longestGapMs = 0;
        double gapEndedMs = 0;
        unsigned soundPackets = 0;
        std::optional<double> pictureDelayMs;
        std::optional<double> soundDelayMs;
    };

    void enter(double nowMs);
    void write();

    std::mutex mutex_;
    std::ofstream out_;
    std::optional<Second> second_;
    std::optional<double> lastFrameMs_;
};

}  // namespace zelrtc::viewer

#endif
