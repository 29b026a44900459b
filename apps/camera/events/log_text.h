/** @file log_text.h The text of log lines: which call they are about, and how they are made safe to print. */
#ifndef APPS_CAMERA_EVENTS_LOG_TEXT_H
#define APPS_CAMERA_EVENTS_LOG_TEXT_H

#include <optional>
#include <string>

namespace zelrtc::camera {

/** The call that a line of a session names ("session 7, ..." or "session: 7, ..."), if it names one. */
std::optional<int> sessionNamedIn(const std::string& text);

/** Replaces control characters with '?': a viewer can put them into an offer, and each entry must stay one line. */
std::string oneLine(std::string text);

}  // namespace zelrtc::camera

#endif
