/** @file call_history.h What happened in a call, for any number of readers at their own pace. */
#ifndef APPS_CAMERA_EVENTS_CALL_HISTORY_H
#define APPS_CAMERA_EVENTS_CALL_HISTORY_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace zelrtc::camera {

/** Something that happened in a call. */
struct Event {
    uint64_t id;      /**< counts from 1 in each call */
    std::string name; /**< kind of event, such as "state" */
    std::string data; /**< one line of JSON */
};

/**
 * The events of one call from its beginning. Readers ask for what came after the last event that they have seen, so a
 * slow reader costs nothing and a late one misses nothing. Any thread; no operation blocks.
 */
class CallHistory {
public:
    /** Keeps an event for as long as the history lives. */
    void append(const std::string& name, const std::string& data);

    /** Keeps only the newest `keep` events of this name: for kinds that arrive without end. */
    void appendPassing(const std::string& name, const std::string& data, size_t keep);

    /** Closes the history: later appends are ignored, readers are told. May be repeated. */
    void close();

    /** What a reader gets. */
    struct Batch {
        std::vector<Event> events;
        bool last; /**< the history is closed and these are its final events */
    };

    /** The events after the one with this id, if there are any. @param seen 0 for all that is kept */
    Batch after(uint64_t seen);

    /**
     * Has a reader told whenever there is something new, or the history has been closed.
     * @param tell called on the thread that appends; returns at once and does not call back
     * @return the name to unsubscribe with
     */
    uint64_t subscribe(std::function<void()> tell);

    /** Ends a subscription; the reader is not being told any more when this returns. */
    void unsubscribe(uint64_t subscription);

private:
    uint64_t store(const std::string& name, const std::string& data);
    void tellReaders();

    std::mutex mutex_;
    std::map<uint64_t, Event> events_;
    std::map<std::string, std::deque<uint64_t>> passing_;
    std::map<uint64_t, std::function<void()>> readers_;
    uint64_t newestReader_ = 0;
    uint64_t newest_ = 0;
    bool closed_ = false;
};

}  // namespace zelrtc::camera

#endif
