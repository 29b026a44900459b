// What webrtcbin's ICE agent has found.
#ifndef HOSTSDK_SRC_ENGINE_AGENT_CANDIDATES_H
#define HOSTSDK_SRC_ENGINE_AGENT_CANDIDATES_H

#include <glib-object.h>

#include <cstddef>

namespace zelrtc::hostsdk {

// The number of local candidates the agent has for a stream, including any not yet passed to webrtcbin. Any thread.
std::size_t countAgentCandidates(GObject* agent, guint stream);

}  // namespace zelrtc::hostsdk

#endif
