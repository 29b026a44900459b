/** @file call_statistics.h What one call saw, collected from all the threads that see something. */
#ifndef APPS_VIEWER_CALL_STATISTICS_H
#define APPS_VIEWER_CALL_STATISTICS_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "timeline.h"

namespace zelrtc::viewer {

struct PictureSize {
    int width = 0;
    int height = 0;

    bool operator==(const PictureSize& other) const {
        return width == other.width && height == other.height;
    }
};

/** What is measured of one received frame. */
struct FrameMeasurement {
    size_t bytes;
    bool keyFrame;
    PictureSize size;
};

/** All times are milliseconds since the offer went out. */
struct CallRecord {
    struct State {
        std::string name;
        double ms;
    };
    struct SizeChange {
        PictureSize size;
        double ms;
        bool keyFrame;  // whether the first frame of the new size was one
    };
    struct Transport {
        std::string localType;  // host, srflx, prflx or relay
        std::string remoteType;
        std::string protocol;
        int64_t packetsReceived = 0;  // of video and audio
        int64_t packetsLost = 0;
    };

    std::string id;
    std::vector<State> states;        // as seen here
    std::vector<State> cameraStates;  // as reported by the camera, on its own clock
    std::optional<double> answerMs;
    std::optional<double> connectedMs;
    std::optional<double> firstPacketMs;      // of video, also of frames that cannot be shown without a key frame
    std::optional<double> firstFrameBeganMs;  // the first frame's first packet
    std::optional<double> firstFrameMs;
    std::optional<double> firstDecodedMs;
    std::optional<double> lastFrameMs;
    std::vector<State> streamsAsked;  // the name is the stream number
    std::vector<SizeChange> sizes;
    uint64_t frames = 0;
    uint64_t keyFrames = 0;
    uint64_t bytes = 0;
    uint64_t decoded = 0;
    uint64_t unreadable = 0;           // decoded pictures whose clock could not be read
    std::vector<double> unreadableMs;  // when the first few of them came
    double largestGapMs = 0;           // between two received frames
    std::vector<uint32_t> agesMs;
    uint64_t audioReceived = 0;  // packets
    uint64_t audioSent = 0;
    uint64_t audioHeard = 0;     // our frames, as counted by the camera
    uint64_t videoPassedOn = 0;  // packets
    uint64_t audioPassedOn = 0;
    uint64_t keyFramesAsked = 0;  // on behalf of whom the packets are passed on to
    double audioRms = 0;          // over all received audio; full scale is 1
    Transport transport;
    std::string ended;    // the reason the camera gave
    std::string failure;  // why the call could not be placed or failed
    bool httpFailed = false;
};

/** Collects a CallRecord. Any thread. */
class CallStatistics {
public:
    /** Writes what arrives there, too. Before anything does. @throws std::runtime_error if it cannot be written */
    void keepTimeline(const std::string& path);
    void offerSent();
    void answered(const std::string& id);
    void stateReached(const std::string& name);
    void cameraStateReached(const std::string& name, double ms);
    void streamAsked(int stream);
    /** A frame's first packet is there. */
    void frameBegan();
    void frameReceived(const FrameMeasurement& frame);
    /** `clock` is the time in the picture's strip, `now` the same clock when it was decoded. */
    void pictureDecoded(std::optional<uint32_t> clock, uint32_t now);
    /** `delayMs`: see packetDelayMs. */
    void videoPacketReceived(std::optional<double> delayMs);
    void audioPacketReceived(std::optional<double> delayMs);
    void audioPacketSent();
    void audioDecoded(double sumOfSquares, uint64_t samples);
    void audioHeard(uint64_t frames);
    void videoPassedOn();
    void audioPassedOn();
    void keyFrameAskedFor();
    void transportSeen(const CallRecord::Transport& transport);
    void endedByCamera(const std::string& reason);
    void failed(const std::string& reason, bool overHttp);

    CallRecord record() const;

private:
    using Clock = std::chrono::steady_clock;

    double now() const;
    void noteUnreadable();

    mutable std::mutex mutex_;
    Clock::time_point start_ = Clock::now();
    CallRecord record_;
    double audioSquares_ = 0;
    uint64_t audioSamples_ = 0;
    std::unique_ptr<Timeline> timeline_;
};

}  // namespace zelrtc::viewer

#endif
