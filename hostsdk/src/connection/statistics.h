// The SDK's statistics records, filled from what webrtcbin and the configuration know.
#ifndef HOSTSDK_SRC_CONNECTION_STATISTICS_H
#define HOSTSDK_SRC_CONNECTION_STATISTICS_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <string>
#include <vector>

#include "engine/webrtc_pipeline.h"

namespace zelrtc::hostsdk {

enum class Side { kLocal, kRemote };

// The selected pair's candidate on that side; its fields are empty while no pair is selected. webrtcbin knows only the
// host of the server that a local candidate came from: `servers` supplies its URL and transport.
RtcIceCandidateStats candidateStatistics(const Reply& statistics, Side side, const std::vector<IceServer>& servers);

// The statistics of a server that was never contacted.
RtcIceServerStats untouchedServerStatistics(const IceServer& server, UINT32 index);

}  // namespace zelrtc::hostsdk

#endif
