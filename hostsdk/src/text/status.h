// The statuses of the SDK's modules that callers may meet, beyond those that the platform header names.
#ifndef HOSTSDK_STATUS_H
#define HOSTSDK_STATUS_H

#include <com/amazonaws/kinesis/video/common/PlatformUtils.h>

namespace zelrtc::hostsdk {

constexpr STATUS STATUS_JSON_UNREADABLE = 0x1500000c;

constexpr STATUS STATUS_DESCRIPTION_TYPE_UNKNOWN = 0x55000003;
constexpr STATUS STATUS_DESCRIPTION_SDP_MISSING = 0x55000004;
constexpr STATUS STATUS_DESCRIPTION_TYPE_MISSING = 0x55000005;
constexpr STATUS STATUS_DESCRIPTION_SDP_TOO_LONG = 0x55000006;
constexpr STATUS STATUS_SDP_UNREADABLE = 0x55000008;

constexpr STATUS STATUS_CANDIDATE_NOT_AN_OBJECT = 0x5a000011;
constexpr STATUS STATUS_CANDIDATE_MISSING = 0x5a000012;
constexpr STATUS STATUS_ICE_SERVER_INDEX = 0x5a000028;

constexpr STATUS STATUS_TRANSPORT_NOT_READY = 0x5b000006;
constexpr STATUS STATUS_NO_REMOTE_DESCRIPTION = 0x5e000001;

}  // namespace zelrtc::hostsdk

#endif
