/** @file waiting_calls.h Who gives way among calls that have not connected. */
#ifndef APPS_CAMERA_CALL_WAITING_CALLS_H
#define APPS_CAMERA_CALL_WAITING_CALLS_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zelrtc::camera {

/** A call whose viewer has not connected. */
struct WaitingCall {
    int id;
    std::string client; /**< who placed it; one client's calls have equal ones */
};

/**
 * The call that makes room for a new one: the oldest of the client that has most of them waiting, so that whoever
 * places many loses his own.
 * @param waiting oldest first
 * @return nothing when none is waiting
 */
std::optional<int> whoGivesWay(const std::vector<WaitingCall>& waiting);

/** The calls that each client has beyond `most`, oldest first: its newest stay. @param waiting oldest first */
std::vector<int> beyondShare(const std::vector<WaitingCall>& waiting, size_t most);

/** How many calls a client has waiting. */
size_t countOf(const std::vector<WaitingCall>& waiting, const std::string& client);

}  // namespace zelrtc::camera

#endif
