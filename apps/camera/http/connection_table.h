/** @file connection_table.h Who is connected, who has waited too long, and who gives way when it gets crowded. */
#ifndef APPS_CAMERA_HTTP_CONNECTION_TABLE_H
#define APPS_CAMERA_HTTP_CONNECTION_TABLE_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "http/http_settings.h"

namespace zelrtc::camera {

using HttpClock = std::chrono::steady_clock;

/** What a connection is waiting for. */
enum class Phase {
    kIdle,     /**< the first line of a request */
    kHeader,   /**< the rest of the header */
    kBody,     /**< the rest of the body */
    kHandling, /**< our own handler; takes as long as it takes */
    kHeldBack, /**< the time of a response that is held back */
    kSending,  /**< the client to take what it is sent */
    kQuiet     /**< something to send on an event stream */
};

/** Whether nothing but its client's time is lost with a connection in this phase. */
bool waitsForRequest(Phase phase);

/** The bookkeeping of one server's connections, without the connections themselves. One thread. */
class ConnectionTable {
public:
    /** @param limits copied */
    explicit ConnectionTable(const HttpLimits& limits);

    /**
     * Adds a connection, which is idle.
     * @param address of the client; connections with equal ones share the limit of an address
     * @return the connection to close because there are now too many; it is no longer in the table. The one that has
     *         waited longest for its client to ask something gives way, of the address that has most connections first.
     *         When there is none such, the address that has most gives up a response or a stream for another address;
     *         else it is the new one.
     */
    std::optional<uint64_t> add(uint64_t id, const std::string& address, HttpClock::time_point now);

    /** Forgets a connection, if it is known. */
    void remove(uint64_t id);

    /** Moves a connection, if it is known, to another phase, whose time begins now. */
    void enter(uint64_t id, Phase phase, HttpClock::time_point now);

    /** Moves a connection, if it is known, to kHeldBack. */
    void holdBack(uint64_t id, HttpClock::time_point until);

    /** The connections whose time is over, oldest first. They stay in the table. */
    std::vector<uint64_t> expired(HttpClock::time_point now) const;

    /** When the next connection's time is over; nothing when that never happens by itself. */
    std::optional<HttpClock::time_point> nextDeadline() const;

    /** The phase of a connection; nothing when it is not known. */
    std::optional<Phase> phaseOf(uint64_t id) const;

    /** All connections in a phase that `chosen` says yes to. */
    std::vector<uint64_t> inPhase(const std::function<bool(Phase)>& chosen) const;

    size_t size() const;

private:
    struct Entry {
        std::string address;
        Phase phase;
        HttpClock::time_point since;
        HttpClock::time_point deadline;
    };

    size_t countOf(const std::string& address) const;
    std::string fullestAddress() const;
    std::optional<uint64_t> oldest(const std::function<bool(const Entry&)>& chosen) const;
    uint64_t victim(uint64_t newcomer, const std::string& newcomersAddress) const;
    HttpClock::time_point deadlineOf(Phase phase, HttpClock::time_point since) const;

    const HttpLimits limits_;
    std::map<uint64_t, Entry> entries_;  // ids grow, so this is also the order of arrival
};

}  // namespace zelrtc::camera

#endif
