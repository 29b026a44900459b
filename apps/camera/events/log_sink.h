/** @file log_sink.h Where the log goes: to standard error or a file, and to the call that a line speaks of. */
#ifndef APPS_CAMERA_EVENTS_LOG_SINK_H
#define APPS_CAMERA_EVENTS_LOG_SINK_H

#include <memory>
#include <string>

#include "events/call_history.h"

namespace zelrtc::camera {

/**
 * Takes over the log of the program, of the session layer and of the SDK: one line each, with time, level and thread.
 * Before any other thread is started.
 * @param level lowest level that is written, by the SDK's numbers: 1 all, 3 progress, 5 failures, 7 nothing
 * @param path  of the file; empty for standard error
 * @throw std::runtime_error with a sentence for the user when the file cannot be opened
 */
void installLog(int level, const std::string& path);

/** While it lives, lines about this session are also events of the call: {"level":3,"text":"..."}. */
class LogSubscription {
public:
    LogSubscription(int sessionId, std::shared_ptr<CallHistory> events);
    ~LogSubscription();
    LogSubscription(const LogSubscription&) = delete;
    LogSubscription& operator=(const LogSubscription&) = delete;

private:
    int sessionId_;
};

/** While it lives, what this thread logs without naming a session belongs to this one. */
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
