/** @file restart_plan.h When a source that has failed is tried again. */
#ifndef APPS_CAMERA_MEDIA_RESTART_PLAN_H
#define APPS_CAMERA_MEDIA_RESTART_PLAN_H

#include <chrono>
#include <optional>
#include <string>

namespace zelrtc::camera {

/** How a stream's source is. */
struct SourceState {
    enum class Kind { kStopped, kStarting, kRunning, kWaiting };
    Kind kind = Kind::kStopped;
    unsigned failures = 0; /**< since the program started */
    std::string reason;    /**< of the last failure, for people */
    std::string complaint; /**< what is wrong with its pictures, for people; empty: nothing that was seen */
};

/** As in "running". */
const char* nameOf(SourceState::Kind kind);

/**
 * The way of one source from failure to failure. Each pause is twice as long as the last one, until the source has
 * delivered for a while. One thread at a time; the times are the caller's, and never go back.
 */
class RestartPlan {
public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::milliseconds kFirstPause{500};
    static constexpr std::chrono::milliseconds kLongestPause{8000};
    /** A source that has delivered for so long has recovered. */
    static constexpr std::chrono::milliseconds kRecovered{2000};
    /** One that is never silent has failed after so long without a picture. */
    static constexpr std::chrono::milliseconds kMostSilence{5000};

    /** @param isNeverSilent whether silence means that the source is gone, without a word */
    explicit RestartPlan(bool isNeverSilent = false) : isNeverSilent_(isNeverSilent) {
    }

    void started(Time now);
    /** @return whether it is the first one since the start */
    bool delivered(Time now);
    /** Without effect on a source that waits or is stopped. @return the pause, if one begins */
    std::optional<std::chrono::milliseconds> failed(Time now, const std::string& reason);
    void stopped();
    void complain(const std::string& complaint);

    bool isSilent(Time now) const;
    bool isDue(Time now) const;
    /** When to look again at isSilent and isDue; nothing: not before something happens. */
    std::optional<Time> nextLook() const;
    const SourceState& state() const {
        return state_;
    }

private:
    bool isUp() const;

    bool isNeverSilent_;
    SourceState state_;
    std::chrono::milliseconds pause_ = kFirstPause;
    Time firstPicture_;
    Time lastSign_;
    Time due_;
};

}  // namespace zelrtc::camera

#endif
