#include "event_stream.h"

#include <utility>

namespace zelrtc::viewer {

EventStreamParser::EventStreamParser(std::function<void(const ServerEvent&)> onEvent) : onEvent_(std::move(onEvent)) {
}

void EventStreamParser::feed(std::string_view piece) {
    unfinishedLine_.append(piece);
    size_t start = 0;
    for (size_t end = 0; (end = unfinishedLine_.find('\n', start)) != std::string::npos; start = end + 1) {
        std::string_view line = std::string_view(unfinishedLine_).substr(start, end - start);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        takeLine(line);
    }
    unfinishedLine_.erase(0, start);
}

void EventStreamParser::takeLine(std::string_view line) {
    if (line.empty()) {
        finishEvent();
        return;
    }
    const size_t colon = line.find(':');
    if (colon == std::string_view::npos) {
        takeField(line, "");
        return;
    }
    std::string_view value = line.substr(colon + 1);
    if (!value.empty() && value.front() == ' ') {
        value.remove_prefix(1);
    }
    takeField(line.substr(0, colon), value);
}

void EventStreamParser::takeField(std::string_view name, std::string_view value) {
    if (name == "event") {
        name_ = value;
    } else if (name == "data") {
        if (hasData_) {
            data_ += '\n';
        }
        data_ += value;
        hasData_ = true;
    }
}

void EventStreamParser::finishEvent() {
    ServerEvent event{name_.empty() ? "message" : std::move(name_), std::move(data_)};
    const bool complete = std::exchange(hasData_, false);
    name_.clear();
    data_.clear();
    if (complete) {
        onEvent_(event);
    }
}

}  // namespace zelrtc::viewer
