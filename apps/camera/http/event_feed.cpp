#include "http/event_feed.h"

#include <algorithm>
#include <utility>

namespace zelrtc::camera {

EventFeed::EventFeed(std::shared_ptr<EventSource> source) : source_(std::move(source)) {
}

size_t EventFeed::take(char* buffer, size_t most) {
    if (text_.empty() && !isComplete_) {
        isComplete_ = !source_->read(text_);
    }
    const size_t count = std::min(most, text_.size());
    std::copy_n(text_.data(), count, buffer);
    text_.erase(0, count);
    return count;
}

bool EventFeed::hasEnded() const {
    return isComplete_ && text_.empty();
}

void EventFeed::addSignOfLife() {
    text_ += ": still here\n\n";
}

}  // namespace zelrtc::camera
