/** @file network_interfaces.h What the host's network offers to the ICE agent. */
#ifndef HOSTSDK_SRC_ENGINE_NETWORK_INTERFACES_H
#define HOSTSDK_SRC_ENGINE_NETWORK_INTERFACES_H

namespace zelrtc::hostsdk {

// True when no interface but the loopback one is up with an address.
bool hasOnlyLoopback();

}  // namespace zelrtc::hostsdk

#endif
