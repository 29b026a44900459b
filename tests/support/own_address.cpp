#include "own_address.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>

#include <array>
#include <memory>

namespace zelrtc::test {
namespace {

std::string textOf(const sockaddr& address) {
    std::array<char, INET_ADDRSTRLEN> text{};
    const auto& internet = reinterpret_cast<const sockaddr_in&>(address);
    inet_ntop(AF_INET, &internet.sin_addr, text.data(), text.size());
    return text.data();
}

bool isUsable(const ifaddrs& entry) {
    constexpr unsigned kRunning = IFF_UP | IFF_RUNNING;
    return entry.ifa_addr != nullptr && entry.ifa_addr->sa_family == AF_INET &&
           (entry.ifa_flags & (kRunning | IFF_LOOPBACK)) == kRunning;
}

}  // namespace

std::string ownAddress() {
    ifaddrs* found = nullptr;
    getifaddrs(&found);
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> entries(found, freeifaddrs);
    for (const ifaddrs* entry = found; entry != nullptr; entry = entry->ifa_next) {
        if (isUsable(*entry)) {
            return textOf(*entry->ifa_addr);
        }
    }
    return "127.0.0.1";
}

}  // namespace zelrtc::test
