/** @file gathering.h When the end of gathering is reported. */
#ifndef HOSTSDK_SRC_CONNECTION_GATHERING_H
#define HOSTSDK_SRC_CONNECTION_GATHERING_H

#include <chrono>
#include <cstddef>
#include <optional>

namespace zelrtc::hostsdk {

// The ICE agent tells of a candidate and of the end from two threads, and on a loaded machine the end overtakes the
// last candidate. So the end waits for as many candidates as the agent has found. Not thread-safe: one thread feeds it.
class Gathering {
public:
    using Clock = std::chrono::steady_clock;

    // One that is not told within this time is not coming.
    static constexpr std::chrono::seconds kLateCandidateLimit{1};

    void onCandidate();
    // The agent is done and has found so many candidates.
    void onDone(size_t found, Clock::time_point now);
    // Whether the end is to be reported now; true once.
    bool takeEnd(Clock::time_point now);
    bool hasCandidate() const;

private:
    struct Done {
        size_t found;
        Clock::time_point when;
    };

    size_t told_ = 0;
    std::optional<Done> done_;
};

}  // namespace zelrtc::hostsdk

#endif
