/** @file call_history.h What happened in a call, for any number of readers at their own pace. */
#ifndef APPS_CAMERA_EVENTS_CALL_HISTORY_H
#define APPS_CAMERA_EVENTS_CALL_HISTORY_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
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
 * slow reader costs nothing and a late one misses nothing. Any thread; only next blocks.
 */
class EventLog {
public:
    /** Keeps an event for the life of the history. */
    void append(const std::string& name, const std::string& data);

    /** Keeps only the newest `keep` events of this name: for kinds that arrive without end. */
    void appendPassing(const std::string& name, const std::string& data, size_t keep);

    /** Closes the history: later appends are ignored, waiting readers wake. Further calls do nothing. */
    void close();

    /** What a reader gets. */
    struct Batch {
        std::vector<Event> events;
        bool last; /**< the history is closed and these are its final events */
    };

    /**
     * The events after `after`; waits if there is none yet.
     * @param after id of the last event seen; 0: return everything kept
     * @param limit longest time to wait, after which the batch is empty
     */
    Batch next(uint64_t after, std::chrono::milliseconds limit);

private:
    uint64_t store(const std::string& name, const std::string& data);

    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<uint64_t, Event> events_;
    std::map<std::string, std::deque<uint64_t>> passing_;
    uint64_t newest_ = 0;
    bool closed_ = false;
};

}  // namespace zelrtc::camera

#endif
