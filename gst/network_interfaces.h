/** @file network_interfaces.h The host's network, as the ICE agent can use it. */
#ifndef GST_NETWORK_INTERFACES_H
#define GST_NETWORK_INTERFACES_H

namespace zelrtc::gst {

// Whether loopback is the only interface that is up and has an address.
bool hasOnlyLoopback();

}  // namespace zelrtc::gst

#endif
