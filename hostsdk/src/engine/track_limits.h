/** @file track_limits.h How much of one track a viewer may send at once. */
#ifndef HOSTSDK_SRC_ENGINE_TRACK_LIMITS_H
#define HOSTSDK_SRC_ENGINE_TRACK_LIMITS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace zelrtc::hostsdk {

// Video: the depacketiser collects the fragments of a unit until its last one comes, and the units of a picture until
// the next picture; neither ever has to. One thread at a time.
class FragmentLimit {
public:
    // Several times the largest picture of a stream that goes through a packet network in real time.
    static constexpr size_t kMostBytes = size_t{512} * 1024;

    // Whether a packet of H.264 (RFC 6184) may pass.
    bool takes(const uint8_t* packet, size_t size);

private:
    std::optional<uint32_t> timestamp_;
    size_t pictureBytes_ = 0;
    size_t unitBytes_ = 0;
};

// Sound: nobody talks faster than time passes. What the network has held up may come up to two seconds late in one go.
// One thread at a time.
class TalkLimit {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::seconds kMostAtOnce{2};

    // Whether a packet of mu-law, a byte for each 125 us, may pass.
    bool takes(const uint8_t* packet, size_t size, Clock::time_point now = Clock::now());

private:
    Clock::time_point spokenUntil_;  // what passed took the time up to here
};

}  // namespace zelrtc::hostsdk

#endif
