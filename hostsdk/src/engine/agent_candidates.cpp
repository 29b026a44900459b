#include "engine/agent_candidates.h"

// Declared here, as in libnice's public interface: for two functions, its development package would pull in half a
// desktop. GStreamer's own list of candidates (1.22) crashes on a relayed one.
extern "C" {
GSList* nice_agent_get_local_candidates(GObject* agent, guint stream, guint component);
void nice_candidate_free(gpointer candidate);
}

namespace zelrtc::hostsdk {

std::size_t countAgentCandidates(GObject* agent, guint stream) {
    // Media and its control packets share the first component.
    GSList* const candidates = nice_agent_get_local_candidates(agent, stream, 1);
    const std::size_t count = g_slist_length(candidates);
    g_slist_free_full(candidates, nice_candidate_free);
    return count;
}

}  // namespace zelrtc::hostsdk
