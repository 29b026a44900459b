#include "gst/ice_agent.h"

#include <stdexcept>

#include "gst/network_interfaces.h"

// From libnice's public interface; its development package would pull in half a desktop for these two functions.
// GStreamer's own list of candidates (1.22) crashes on a relayed one.
extern "C" {
GSList* nice_agent_get_local_candidates(GObject* agent, guint stream, guint component);
void nice_candidate_free(gpointer candidate);
}

namespace zelrtc::gst {

namespace {

// Two instead of seven: gathering through a TURN server ends in 0.8 s instead of 2.0 s.
constexpr guint kStunRetransmissions = 2;
// The shortest pause between connectivity checks that RFC 8445 allows. With the agent's default of 20 ms, a call on a
// near network spends most of its connecting time waiting for the next check.
constexpr guint kCheckPacingMs = 5;

GstPtr<GObject> iceAgent(GstElement* webrtcbin) {
    return ownedProperty<GObject>(webrtcbin, "ice-agent");
}

}  // namespace

GstPtr<GObject> niceAgent(GstElement* webrtcbin) {
    return ownedProperty<GObject>(iceAgent(webrtcbin).get(), "agent");
}

void speedUpAgent(GstElement* webrtcbin) {
    // Asking the router for a port mapping adds 200 ms to gathering, answered or not.
    g_object_set(niceAgent(webrtcbin).get(), "upnp", FALSE, "stun-max-retransmissions", kStunRetransmissions,
                 "stun-pacing-timer", kCheckPacingMs, nullptr);
}

void gatherUdpOnly(GstElement* webrtcbin) {
    g_object_set(iceAgent(webrtcbin).get(), "ice-tcp", FALSE, nullptr);
}

void gatherOn(GstElement* webrtcbin, const std::string& address) {
    gboolean added = FALSE;
    g_signal_emit_by_name(iceAgent(webrtcbin).get(), "add-local-ip-address", address.c_str(), &added);
    if (!added) {
        throw std::runtime_error("not an address to gather on: " + address);
    }
}

void gatherOnLoopbackIfAlone(GstElement* webrtcbin) {
    if (hasOnlyLoopback()) {
        gatherOn(webrtcbin, kLoopbackAddress);
    }
}

bool addIceServer(GstElement* webrtcbin, const std::string& uri) {
    gboolean taken = TRUE;
    if (g_str_has_prefix(uri.c_str(), "stun:")) {
        g_object_set(webrtcbin, "stun-server", uri.c_str(), nullptr);
    } else {
        g_signal_emit_by_name(webrtcbin, "add-turn-server", uri.c_str(), &taken);
    }
    return taken != FALSE;
}

size_t countCandidates(GObject* agent, guint stream) {
    // RTP and RTCP share the first component.
    GSList* const candidates = nice_agent_get_local_candidates(agent, stream, 1);
    const size_t count = g_slist_length(candidates);
    g_slist_free_full(candidates, nice_candidate_free);
    return count;
}

}  // namespace zelrtc::gst
