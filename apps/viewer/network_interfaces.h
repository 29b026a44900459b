/** The interfaces that this host can gather candidates on. */
#ifndef APPS_VIEWER_NETWORK_INTERFACES_H
#define APPS_VIEWER_NETWORK_INTERFACES_H

namespace zelrtc::viewer {

/** Whether loopback is the only interface; the ICE agent skips loopback unless told to use it. */
bool hasOnlyLoopback();

}  // namespace zelrtc::viewer

#endif
