/** @file log_text.h The text of log lines: which call they speak of, and how they are made safe to print. */
#ifndef APPS_CAMERA_EVENTS_LOG_TEXT_H
#define APPS_CAMERA_EVENTS_LOG_TEXT_H

#include <optional>
#include <string>

namespace zelrtc::camera {

/** The call that a line of a session names ("session 7, ..." or "session: 7, ..."), if it names one. */
std::optional<int> sessionNamedIn(const std::string& text);

/** The text on one line: control characters, which a viewer can put into an offer, become '?'. */
std::string oneLine(std::string text);

}  // namespace zelrtc::camera

#endif
