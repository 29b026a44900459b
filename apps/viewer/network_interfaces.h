/** What this host can gather candidates on. */
#pragma once

namespace zelrtc::viewer {

/** Whether loopback is all there is; the ICE agent leaves loopback out unless it is told to use it. */
bool hasOnlyLoopback();

}  // namespace zelrtc::viewer
