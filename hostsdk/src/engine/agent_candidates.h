/** @file agent_candidates.h What the ICE agent under webrtcbin has found. */
#ifndef HOSTSDK_SRC_ENGINE_AGENT_CANDIDATES_H
#define HOSTSDK_SRC_ENGINE_AGENT_CANDIDATES_H

#include <glib-object.h>

#include <cstddef>

namespace zelrtc::hostsdk {

// How many of this side's candidates the agent knows of in a stream, told to webrtcbin or not yet. Any thread.
size_t countAgentCandidates(GObject* agent, guint stream);

}  // namespace zelrtc::hostsdk

#endif
