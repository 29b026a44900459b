/**
 * @file link_model.h What a bad network does to the packets of one direction: decided packet by packet, the same on
 * every run.
 */
#ifndef TESTS_NETWORK_LINK_LINK_MODEL_H
#define TESTS_NETWORK_LINK_LINK_MODEL_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>

namespace zelrtc::link {

using Duration = std::chrono::nanoseconds;
using Time = std::chrono::time_point<std::chrono::steady_clock, Duration>;

/** The state of a link; by default everything passes at once. */
struct Conditions {
    bool isUp = true;
    double lossPercent = 0;
    Duration delay{0};
    Duration jitter{0};             /**< the delay varies evenly by up to this much both ways, in order */
    double reorderPercent = 0;      /**< this share of packets is held back and overtaken */
    Duration reorderHold{0};        /**< for how long */
    uint64_t rateBitsPerSecond = 0; /**< 0: no limit */
    size_t queueBytes = 0;          /**< the most that waits for the rate limit; more is dropped */
};

/** What has happened to the packets so far. */
struct Counters {
    uint64_t delivered = 0;
    uint64_t bytes = 0;
    uint64_t lost = 0;       /**< by chance */
    uint64_t overflowed = 0; /**< because the queue before the rate limit was full */
    uint64_t whileDown = 0;
    uint64_t reordered = 0;
};

/** One direction of a link. Not thread-safe. The same seed, packets and times lead to the same decisions. */
class LinkModel {
public:
    explicit LinkModel(uint64_t seed);

    void setConditions(const Conditions& conditions);

    /**
     * Decides the fate of a packet that enters the link.
     * @return when it comes out at the other end; nothing if it never does
     */
    std::optional<Time> admit(Time now, size_t packetBytes);

    const Counters& counters() const {
        return counters_;
    }

private:
    bool happens(double percent);
    Duration nextDelay();
    std::optional<Time> leaveQueue(Time now, size_t packetBytes);

    std::mt19937_64 random_;
    Conditions conditions_;
    Counters counters_;
    Time queueFreeAt_{};
    Time lastDelivery_{};
};

}  // namespace zelrtc::link

#endif
