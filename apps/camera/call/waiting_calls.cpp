#include "call/waiting_calls.h"

#include <algorithm>
#include <map>

namespace zelrtc::camera {

std::optional<int> whoGivesWay(const std::vector<WaitingCall>& waiting) {
    const auto fewer = [&](const WaitingCall& one, const WaitingCall& other) {
        return countOf(waiting, one.client) < countOf(waiting, other.client);
    };
    // The first of equals, which is the oldest.
    const auto found = std::max_element(waiting.begin(), waiting.end(), fewer);
    return found == waiting.end() ? std::nullopt : std::optional(found->id);
}

std::vector<int> beyondShare(const std::vector<WaitingCall>& waiting, size_t most) {
    std::map<std::string, size_t> left;
    for (const WaitingCall& call : waiting) {
        ++left[call.client];
    }
    std::vector<int> surplus;
    for (const WaitingCall& call : waiting) {
        if (left[call.client] > most) {
            --left[call.client];
            surplus.push_back(call.id);
        }
    }
    return surplus;
}

size_t countOf(const std::vector<WaitingCall>& waiting, const std::string& client) {
    return static_cast<size_t>(
        std::count_if(waiting.begin(), waiting.end(), [&](const WaitingCall& call) { return call.client == client; }));
}

}  // namespace zelrtc::camera
