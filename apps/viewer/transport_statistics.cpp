#include "transport_statistics.h"

#include <cstdint>

namespace zelrtc::viewer {
namespace {

std::string textField(const GstStructure* structure, const char* name) {
    const gchar* text = gst_structure_get_string(structure, name);
    return text == nullptr ? "" : text;
}

// The "type" of a candidate's statistics is not reliable, the beginning of its id is.
void takeCandidate(const GstStructure* entry, const std::string& id, CallRecord::Transport& transport) {
    if (id.find("ice-candidate-local") != std::string::npos) {
        transport.localType = textField(entry, "candidate-type");
        transport.protocol = textField(entry, "protocol");
    } else if (id.find("ice-candidate-remote") != std::string::npos) {
        transport.remoteType = textField(entry, "candidate-type");
    }
}

// The type differs between versions of GStreamer.
int64_t numberField(const GstStructure* structure, const char* name) {
    const GValue* field = gst_structure_get_value(structure, name);
    GValue number = G_VALUE_INIT;
    g_value_init(&number, G_TYPE_INT64);
    const bool isNumber = field != nullptr && g_value_transform(field, &number);
    return isNumber ? g_value_get_int64(&number) : 0;
}

void takeInbound(const GstStructure* entry, CallRecord::Transport& transport) {
    GstWebRTCStatsType type{};
    gst_structure_get(entry, "type", GST_TYPE_WEBRTC_STATS_TYPE, &type, nullptr);
    if (type != GST_WEBRTC_STATS_INBOUND_RTP) {
        return;
    }
    transport.packetsReceived += numberField(entry, "packets-received");
    transport.packetsLost += numberField(entry, "packets-lost");
}

gboolean takeStatistic(GQuark /*field*/, const GValue* value, gpointer transport) {
    if (GST_VALUE_HOLDS_STRUCTURE(value)) {
        const GstStructure* entry = gst_value_get_structure(value);
        auto& collected = *static_cast<CallRecord::Transport*>(transport);
        takeCandidate(entry, textField(entry, "id"), collected);
        takeInbound(entry, collected);
    }
    return TRUE;
}

}  // namespace

CallRecord::Transport readTransport(const gst::Reply& statistics) {
    CallRecord::Transport transport;
    if (const GstStructure* reply = statistics.structure()) {
        gst_structure_foreach(reply, &takeStatistic, &transport);
    }
    return transport;
}

}  // namespace zelrtc::viewer
