#include "connection/statistics.h"

#include <algorithm>

#include "text/record_text.h"

namespace zelrtc::hostsdk {

namespace {

constexpr const char* kNotApplicable = "N/A";
constexpr UINT64 kNanosecondsPerTick = 100;

// webrtcbin swaps local and remote in the types of its records; their ids are right.
const GstStructure* findCandidate(const GstStructure* statistics, Side side) {
    const char* const prefix = side == Side::kLocal ? "ice-candidate-local_" : "ice-candidate-remote_";
    for (gint i = 0; i < gst_structure_n_fields(statistics); i++) {
        const char* const name = gst_structure_nth_field_name(statistics, static_cast<guint>(i));
        const GValue* const value = gst_structure_get_value(statistics, name);
        if (g_str_has_prefix(name, prefix) && GST_VALUE_HOLDS_STRUCTURE(value)) {
            return gst_value_get_structure(value);
        }
    }
    return nullptr;
}

std::string textField(const GstStructure* structure, const char* name) {
    const char* const text = gst_structure_get_string(structure, name);
    return text == nullptr ? "" : text;
}

INT32 numberField(const GstStructure* structure, const char* name) {
    guint value = 0;
    gst_structure_get_uint(structure, name, &value);
    return static_cast<INT32>(value);
}

// Null unless exactly one server is at this host.
const IceServer* findServer(const std::vector<IceServer>& servers, const std::string& host, bool isRelay) {
    const auto matches = [&](const IceServer& server) {
        return server.inUse && server.url->host == host && server.url->isRelay() == isRelay;
    };
    if (std::count_if(servers.begin(), servers.end(), matches) != 1) {
        return nullptr;
    }
    return &*std::find_if(servers.begin(), servers.end(), matches);
}

void setOrigin(RtcIceCandidateStats* record, const std::string& host, const std::vector<IceServer>& servers) {
    const bool isRelay = getField(record->candidateType) == "relay";
    const IceServer* const server = findServer(servers, host, isRelay);
    setField(record->url, host.empty() ? kNotApplicable : host);
    setField(record->relayProtocol, isRelay && server != nullptr ? server->url->transport : kNotApplicable);
}

}  // namespace

RtcIceCandidateStats candidateStatistics(const gst::Reply& statistics, Side side,
                                         const std::vector<IceServer>& servers) {
    RtcIceCandidateStats record{};
    const GstStructure* const reply = statistics.accepted() ? statistics.structure() : nullptr;
    const GstStructure* const candidate = reply == nullptr ? nullptr : findCandidate(reply, side);
    if (candidate == nullptr) {
        return record;
    }
    setField(record.address, textField(candidate, "address"));
    setField(record.candidateType, textField(candidate, "candidate-type"));
    setField(record.protocol, textField(candidate, "protocol"));
    record.port = numberField(candidate, "port");
    record.priority = numberField(candidate, "priority");
    if (side == Side::kLocal) {
        setOrigin(&record, textField(candidate, "url"), servers);
    }
    return record;
}

RtcIceServerStats serverStatistics(const IceServer& server, UINT32 index, const ServerExchange& exchange) {
    RtcIceServerStats record{};
    setField(record.url, server.text);
    // Of 16 bits with a sign, in the SDK.
    record.port = server.url ? static_cast<int16_t>(server.url->port) : 0;
    record.iceServerIndex = index;
    record.totalRequestsSent = exchange.requests;
    record.totalResponsesReceived = exchange.responses;
    record.totalRoundTripTime = static_cast<UINT64>(exchange.roundTrip.count()) / kNanosecondsPerTick;
    if (exchange.requests > 0 && server.url->isRelay()) {
        setField(record.protocol, server.url->transport);
    }
    return record;
}

}  // namespace zelrtc::hostsdk
