/** @file event_source.h What an event stream sends, pulled by the server at the client's pace. */
#ifndef APPS_CAMERA_HTTP_EVENT_SOURCE_H
#define APPS_CAMERA_HTTP_EVENT_SOURCE_H

#include <functional>
#include <string>

namespace zelrtc::camera {

/**
 * The text of one event stream. The server pulls when the client has taken what went before, so a slow client costs no
 * memory. All operations come from the server's thread and must not block; destruction may come on any thread.
 */
class EventSource {
public:
    EventSource() = default;
    virtual ~EventSource() = default;
    EventSource(const EventSource&) = delete;
    EventSource& operator=(const EventSource&) = delete;

    /**
     * Has `wake` called, on any thread, whenever there may be something new to read or the stream has ended. Called
     * once, before the first read.
     * @param wake returns at once and may be called more often than needed, also after the stream has ended; not once
     *             the source is destroyed
     */
    virtual void wakeWith(std::function<void()> wake) = 0;

    /** Appends what there is to send. @return false when nothing follows */
    virtual bool read(std::string& text) = 0;
};

}  // namespace zelrtc::camera

#endif
