/** @file event_stream.h Server-sent events as they come in pieces from the network. */
#ifndef APPS_VIEWER_EVENT_STREAM_H
#define APPS_VIEWER_EVENT_STREAM_H

#include <functional>
#include <string>
#include <string_view>

namespace zelrtc::viewer {

struct ServerEvent {
    std::string name;  // "message" when the server gave none
    std::string data;
};

/** Splits a text/event-stream into events; skips comments and unused fields. */
class EventStreamParser {
public:
    explicit EventStreamParser(std::function<void(const ServerEvent&)> onEvent);

    /** Takes the next piece, of any size, and reports the events it completes. */
    void feed(std::string_view piece);

private:
    void takeLine(std::string_view line);
    void takeField(std::string_view name, std::string_view value);
    void finishEvent();

    std::function<void(const ServerEvent&)> onEvent_;
    std::string unfinishedLine_;
    std::string name_;
    std::string data_;
    bool hasData_ = false;
};

}  // namespace zelrtc::viewer

#endif
