// What the ICE agent under webrtcbin has found.
#ifndef GST_ICE_AGENT_H
#define GST_ICE_AGENT_H

#include <glib-object.h>

#include <cstddef>

namespace zelrtc::gst {

// How many of this side's candidates the agent knows of in a stream, told to webrtcbin or not yet. Any thread.
std::size_t countAgentCandidates(GObject* agent, guint stream);

}  // namespace zelrtc::gst

#endif
