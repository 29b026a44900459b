/** @file statistics.h The SDK's statistics records, filled from what webrtcbin and the configuration know. */
#ifndef HOSTSDK_SRC_CONNECTION_STATISTICS_H
#define HOSTSDK_SRC_CONNECTION_STATISTICS_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <string>
#include <vector>

#include "connection/server_probe.h"
#include "engine/ice_servers.h"
#include "gst/reply.h"

namespace zelrtc::hostsdk {

enum class Side { kLocal, kRemote };

// The selected pair's candidate of that side; empty fields while no pair is selected. The server that a local
// candidate was learnt from is its bare host; `servers` tell a relay's transport where one server alone is at the host.
RtcIceCandidateStats candidateStatistics(const gst::Reply& statistics, Side side,
                                         const std::vector<IceServer>& servers);

// `exchange`: what the stand-in itself has asked the server; nothing before gathering.
RtcIceServerStats serverStatistics(const IceServer& server, UINT32 index, const ServerExchange& exchange);

}  // namespace zelrtc::hostsdk

#endif
