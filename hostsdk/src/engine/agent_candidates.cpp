#include "engine/agent_candidates.h"

// Of libnice's public interface. Its development package would bring a desktop's libraries along for these two
// functions, and GStreamer's own list of candidates (1.22) crashes on a relayed one.
extern "C" {
GSList* nice_agent_get_local_candidates(GObject* pAgent, guint stream, guint component);
void nice_candidate_free(gpointer pCandidate);
}

namespace hostsdk {

std::size_t countAgentCandidates(GObject* pAgent, guint stream) {
    // Media and its control packets share the first component.
    GSList* const pCandidates = nice_agent_get_local_candidates(pAgent, stream, 1);
    const std::size_t count = g_slist_length(pCandidates);
    g_slist_free_full(pCandidates, nice_candidate_free);
    return count;
}

}  // namespace hostsdk
