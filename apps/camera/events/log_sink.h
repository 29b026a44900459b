/** @file log_sink.h Sends the log to standard error or a file, and to the call that a line is about. */
#ifndef APPS_CAMERA_EVENTS_LOG_SINK_H
#define APPS_CAMERA_EVENTS_LOG_SINK_H

#include <memory>
#include <string>

#include "events/call_history.h"

namespace zelrtc::camera {

/**
 * Takes over the logs of the program, the session layer and the SDK: one line each, with time, level and thread.
 * Call it before starting any other thread.
 * @param level lowest level written, in the SDK's numbers: 1 all, 3 progress, 5 failures, 7 nothing
 * @param path  the file; empty: standard error
 * @throw std::runtime_error with a sentence for the user when the file cannot be opened
 */
void installLog(int level, const std::string& path);

/** While it exists, lines about this session also become events of the call: {"level":3,"text":"..."}. */
class LogSubscription {
public:
    LogSubscription(int sessionId, std::shared_ptr<CallHistory> events);
    ~LogSubscription();
    LogSubscription(const LogSubscription&) = delete;
    LogSubscription& operator=(const LogSubscription&) = delete;

private:
    int sessionId_;
};

/** While it exists, lines of this thread that name no session count as this session's. */
class LogScope {
public:
    explicit LogScope(int sessionId);
    ~LogScope();
    LogScope(const LogScope&) = delete;
    LogScope& operator=(const LogScope&) = delete;

private:
    int outer_;
};

}  // namespace zelrtc::camera

#endif
