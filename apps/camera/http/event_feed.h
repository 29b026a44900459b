/** @file event_feed.h One client's event stream, in the pieces that the client takes. */
#ifndef APPS_CAMERA_HTTP_EVENT_FEED_H
#define APPS_CAMERA_HTTP_EVENT_FEED_H

#include <cstddef>
#include <memory>
#include <string>

#include "http/event_source.h"

namespace zelrtc::camera {

/** Holds what the source has given and the client has not taken. One thread. */
class EventFeed {
public:
    explicit EventFeed(std::shared_ptr<EventSource> source);

    /** Copies what comes next. @return how much that was; 0 when there is nothing now, or nothing any more */
    size_t take(char* buffer, size_t most);

    /** Whether all has been taken and nothing follows. */
    bool hasEnded() const;

    /** Adds a comment, which clients skip. */
    void addSignOfLife();

private:
    std::shared_ptr<EventSource> source_;
    std::string text_;
    bool isComplete_ = false;
};

}  // namespace zelrtc::camera

#endif
