/** @file statistics.h The SDK's statistics records, filled from what webrtcbin and the configuration know. */
#ifndef HOSTSDK_SRC_CONNECTION_STATISTICS_H
#define HOSTSDK_SRC_CONNECTION_STATISTICS_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <string>
#include <vector>

#include "engine/ice_servers.h"
#include "gst/reply.h"

namespace zelrtc::hostsdk {

enum class Side { kLocal, kRemote };

// The selected pair's candidate of that side; empty fields while no pair is selected. `servers` tell the address and
// the transport of the server that a local candidate was learnt from, of which webrtcbin knows only the host.
RtcIceCandidateStats candidateStatistics(const gst::Reply& statistics, Side side,
                                         const std::vector<IceServer>& servers);

// A server that nothing was sent to.
RtcIceServerStats untouchedServerStatistics(const IceServer& server, UINT32 index);

}  // namespace zelrtc::hostsdk

#endif
