// The host's network interfaces, as the ICE agent sees them.
#ifndef HOSTSDK_SRC_ENGINE_NETWORK_INTERFACES_H
#define HOSTSDK_SRC_ENGINE_NETWORK_INTERFACES_H

namespace zelrtc::hostsdk {

// Whether no interface but loopback is up with an address.
bool hasOnlyLoopback();

}  // namespace zelrtc::hostsdk

#endif
