#include "engine/agent_candidates.h"

// Of libnice's public interface. Its development package would bring a desktop's libraries along for these two
// functions, and GStreamer's own list of candidates (1.22) crashes on a relayed one.
extern "C" {
GSList* nice_agent_get_local_candidates(GObject* agent, guint stream, guint component);
void nice_candidate_free(gpointer candidate);
}

namespace zelrtc::hostsdk {

size_t countAgentCandidates(GObject* agent, guint stream) {
    // Media and its control packets share the first component.
    GSList* const candidates = nice_agent_get_local_candidates(agent, stream, 1);
    const size_t count = g_slist_length(candidates);
    g_slist_free_full(candidates, nice_candidate_free);
    return count;
}

}  // namespace zelrtc::hostsdk
