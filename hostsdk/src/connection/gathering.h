/** @file gathering.h When the end of gathering is reported. */
#ifndef HOSTSDK_SRC_CONNECTION_GATHERING_H
#define HOSTSDK_SRC_CONNECTION_GATHERING_H

#include <chrono>
#include <cstddef>
#include <optional>

namespace zelrtc::hostsdk {

// The ICE agent tells of a candidate and of the end from two threads, and on a loaded machine the end overtakes the
// last candidate; so the end waits for as many candidates as the agent has found. It also waits for every server to
// answer, as the SDK does, where the agent gives up on one much sooner. Not thread-safe: one thread feeds it.
class Gathering {
public:
    using Clock = std::chrono::steady_clock;

    // A candidate that is not told within this time is not coming.
    static constexpr std::chrono::seconds kLateCandidateLimit{1};
    // The SDK's time.
    static constexpr std::chrono::seconds kLimit{10};

    void start(Clock::time_point now);
    // False when the end was reported and the candidate comes too late to be told.
    bool onCandidate();
    // The agent has finished, with `found` candidates in all.
    void onDone(size_t found, Clock::time_point now);
    // Whether to report the end now. True only once.
    bool takeEnd(bool haveServersAnswered, Clock::time_point now);
    // Nobody needs candidates any more: true once, when the end was not reported yet.
    bool cutShort();
    bool hasCandidate() const;
    bool hasEnded() const;

private:
    bool isComplete(bool haveServersAnswered, Clock::time_point now) const;

    struct Done {
        size_t found;
        Clock::time_point when;
    };

    size_t told_ = 0;
    std::optional<Clock::time_point> started_;
    std::optional<Done> done_;
    bool ended_ = false;
};

}  // namespace zelrtc::hostsdk

#endif
