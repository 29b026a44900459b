#include "network_interfaces.h"

#include <ifaddrs.h>
#include <net/if.h>

#include <memory>

namespace zelrtc::viewer {
namespace {

bool carriesCalls(const ifaddrs& interface) {
    if (interface.ifa_addr == nullptr || (interface.ifa_flags & IFF_LOOPBACK) != 0) {
        return false;
    }
    const int family = interface.ifa_addr->sa_family;
    return (interface.ifa_flags & IFF_UP) != 0 && (family == AF_INET || family == AF_INET6);
}

}  // namespace

bool hasOnlyLoopback() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return false;
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> list(first, &freeifaddrs);
    for (const ifaddrs* interface = first; interface != nullptr; interface = interface->ifa_next) {
        if (carriesCalls(*interface)) {
            return false;
        }
    }
    return true;
}

}  // namespace zelrtc::viewer
