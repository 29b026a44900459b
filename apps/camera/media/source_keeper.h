/** @file source_keeper.h The thread that brings failed sources back. */
#ifndef APPS_CAMERA_MEDIA_SOURCE_KEEPER_H
#define APPS_CAMERA_MEDIA_SOURCE_KEEPER_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "media/restart_plan.h"

namespace zelrtc::camera {

/**
 * Knows how every source is. A source cannot be stopped on its own thread, which is where it fails, so this thread sees
 * to it. Any thread.
 */
class SourceKeeper {
public:
    /** Run on the keeper's thread without its lock: stops the source and starts it again, if it is wanted still. */
    using Restart = std::function<void(int stream)>;
    /** Run on the source's or the keeper's thread when a source has failed or is back. */
    using Tell = std::function<void(int stream, const SourceState& state)>;

    /** @param plans one for each stream */
    SourceKeeper(std::vector<RestartPlan> plans, Restart restart, Tell tell);
    ~SourceKeeper();
    SourceKeeper(const SourceKeeper&) = delete;
    SourceKeeper& operator=(const SourceKeeper&) = delete;

    void started(int stream);
    void delivered(int stream);
    void failed(int stream, const std::string& reason);
    void stopped(int stream);
    void complain(int stream, const std::string& complaint);

    std::vector<SourceState> states() const;

private:
    using Clock = std::chrono::steady_clock;

    void run();
    void lookAfter(int stream, std::unique_lock<std::mutex>& lock);
    void noteFailure(int stream, const std::string& reason, std::unique_lock<std::mutex>& lock);
    Clock::time_point nextLook() const;
    RestartPlan& planOf(int stream);

    const Restart restart_;
    const Tell tell_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<RestartPlan> plans_;
    bool stop_ = false;
    std::thread thread_;
};

}  // namespace zelrtc::camera

#endif
