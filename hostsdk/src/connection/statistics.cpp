#include "connection/statistics.h"

#include <algorithm>

#include "text/record_text.h"

namespace hostsdk {

namespace {

constexpr const char* NOT_APPLICABLE = "N/A";

// webrtcbin names the sides right in the ids of its records, but swaps them in their types.
const GstStructure* findCandidate(const GstStructure* pStatistics, Side side) {
    const char* const prefix = side == Side::LOCAL ? "ice-candidate-local_" : "ice-candidate-remote_";
    for (gint i = 0; i < gst_structure_n_fields(pStatistics); i++) {
        const char* const name = gst_structure_nth_field_name(pStatistics, static_cast<guint>(i));
        const GValue* const pValue = gst_structure_get_value(pStatistics, name);
        if (g_str_has_prefix(name, prefix) && GST_VALUE_HOLDS_STRUCTURE(pValue)) {
            return gst_value_get_structure(pValue);
        }
    }
    return nullptr;
}

std::string textField(const GstStructure* pStructure, const char* name) {
    const char* const pText = gst_structure_get_string(pStructure, name);
    return pText == nullptr ? "" : pText;
}

INT32 numberField(const GstStructure* pStructure, const char* name) {
    guint value = 0;
    gst_structure_get_uint(pStructure, name, &value);
    return static_cast<INT32>(value);
}

// Null when no server, or more than one, stands at the host.
const IceServer* findServer(const std::vector<IceServer>& servers, const std::string& host, bool isRelay) {
    const auto matches = [&](const IceServer& server) {
        return server.inUse && server.url->host == host && server.url->isRelay() == isRelay;
    };
    if (std::count_if(servers.begin(), servers.end(), matches) != 1) {
        return nullptr;
    }
    return &*std::find_if(servers.begin(), servers.end(), matches);
}

void setOrigin(RtcIceCandidateStats* pRecord, const std::string& host, const std::vector<IceServer>& servers) {
    const bool isRelay = getField(pRecord->candidateType) == "relay";
    const IceServer* const pServer = findServer(servers, host, isRelay);
    setField(pRecord->url, pServer == nullptr ? host : pServer->text);
    setField(pRecord->relayProtocol, isRelay && pServer != nullptr ? pServer->url->transport : NOT_APPLICABLE);
    if (host.empty()) {
        setField(pRecord->url, NOT_APPLICABLE);
    }
}

}  // namespace

RtcIceCandidateStats candidateStatistics(const Reply& statistics, Side side, const std::vector<IceServer>& servers) {
    RtcIceCandidateStats record{};
    const GstStructure* const pStatistics = statistics.accepted() ? statistics.structure() : nullptr;
    const GstStructure* const pCandidate = pStatistics == nullptr ? nullptr : findCandidate(pStatistics, side);
    if (pCandidate == nullptr) {
        return record;
    }
    setField(record.address, textField(pCandidate, "address"));
    setField(record.candidateType, textField(pCandidate, "candidate-type"));
    setField(record.protocol, textField(pCandidate, "protocol"));
    record.port = numberField(pCandidate, "port");
    record.priority = numberField(pCandidate, "priority");
    if (side == Side::LOCAL) {
        setOrigin(&record, textField(pCandidate, "url"), servers);
    }
    return record;
}

RtcIceServerStats untouchedServerStatistics(const IceServer& server, UINT32 index) {
    RtcIceServerStats record{};
    setField(record.url, server.text);
    record.port = server.url ? server.url->port : 0;
    record.iceServerIndex = index;
    return record;
}

}  // namespace hostsdk
