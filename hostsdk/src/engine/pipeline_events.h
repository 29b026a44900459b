/** @file pipeline_events.h What the engine tells, and how. */
#ifndef HOSTSDK_SRC_ENGINE_PIPELINE_EVENTS_H
#define HOSTSDK_SRC_ENGINE_PIPELINE_EVENTS_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace zelrtc::hostsdk {

// The clock of everything that the engine times.
using Clock = std::chrono::steady_clock;

enum class TransportEvent { kConnected, kClosedByFarEnd };

// Runs a task later, on another thread than the caller's, after those posted before. Any thread; never waits.
using TaskPoster = std::function<void(std::function<void()>)>;

// The SDK tells of what comes in from the far end on another thread than of everything else.
struct PipelinePosters {
    TaskPoster timer;
    TaskPoster incoming;
};

// Each runs as a posted task: bandwidth and frames as incoming ones.
struct PipelineEvents {
    std::function<void(unsigned int mLineIndex, const std::string& candidate)> onCandidate;
    // With the number of candidates found, of which the last may still be on their way to onCandidate.
    std::function<void(size_t found)> onGatheringDone;
    std::function<void(TransportEvent)> onTransport;
    // The far end's limit in bits per second.
    std::function<void(double)> onBandwidth;
    std::function<void(RTC_CODEC, Frame*)> onFrame;
};

}  // namespace zelrtc::hostsdk

#endif
