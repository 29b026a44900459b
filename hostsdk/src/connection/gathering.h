// When the end of gathering is reported.
#ifndef HOSTSDK_SRC_CONNECTION_GATHERING_H
#define HOSTSDK_SRC_CONNECTION_GATHERING_H

#include <chrono>
#include <cstddef>
#include <optional>

namespace zelrtc::hostsdk {

// The ICE agent reports candidates and the end of gathering on two threads, and on a loaded machine the end overtakes
// the last candidate. So the end is held until every candidate the agent found has arrived. Not thread-safe.
class Gathering {
public:
    using Clock = std::chrono::steady_clock;

    // A candidate not reported within this time is not coming.
    static constexpr std::chrono::seconds kLateCandidateLimit{1};

    void onCandidate();
    // The agent has finished, with `found` candidates in all.
    void onDone(std::size_t found, Clock::time_point now);
    // Whether to report the end now. True only once.
    bool takeEnd(Clock::time_point now);
    bool hasCandidate() const;

private:
    struct Done {
        std::size_t found;
        Clock::time_point when;
    };

    std::size_t told_ = 0;
    std::optional<Done> done_;
};

}  // namespace zelrtc::hostsdk

#endif
