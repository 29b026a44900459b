#include "call/state_name.h"

#include <array>

namespace zelrtc::camera {

std::string stateName(RTC_PEER_CONNECTION_STATE state) {
    constexpr std::array<const char*, RTC_PEER_CONNECTION_TOTAL_STATE_COUNT> kNames = {
        "none", "new", "connecting", "connected", "disconnected", "failed", "closed"};
    const auto number = static_cast<size_t>(state);
    return number < kNames.size() ? kNames.at(number) : "unknown";
}

}  // namespace zelrtc::camera
