#include "gst/network_interfaces.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <sys/socket.h>

#include <memory>

namespace zelrtc::gst {

namespace {

bool isUsable(const ifaddrs& interface) {
    if (interface.ifa_addr == nullptr || (interface.ifa_flags & IFF_UP) == 0 ||
        (interface.ifa_flags & IFF_LOOPBACK) != 0) {
        return false;
    }
    return interface.ifa_addr->sa_family == AF_INET || interface.ifa_addr->sa_family == AF_INET6;
}

}  // namespace

bool hasOnlyLoopback() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return false;
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(first, freeifaddrs);
    for (const ifaddrs* interface = first; interface != nullptr; interface = interface->ifa_next) {
        if (isUsable(*interface)) {
            return false;
        }
    }
    return true;
}

}  // namespace zelrtc::gst
