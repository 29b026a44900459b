/** @file network_interfaces.h What the host's network offers to the ICE agent. */
#ifndef GST_NETWORK_INTERFACES_H
#define GST_NETWORK_INTERFACES_H

namespace zelrtc::gst {

// Whether no interface but loopback is up with an address.
bool hasOnlyLoopback();

}  // namespace zelrtc::gst

#endif
