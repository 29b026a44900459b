/** @file network_interfaces.h What this host can gather candidates on. */
#ifndef APPS_VIEWER_NETWORK_INTERFACES_H
#define APPS_VIEWER_NETWORK_INTERFACES_H

namespace zelrtc::viewer {

/** Whether loopback is all there is; the ICE agent leaves loopback out unless it is told to use it. */
bool hasOnlyLoopback();

}  // namespace zelrtc::viewer

#endif
