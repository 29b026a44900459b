/**
 * @file status.h The statuses of the SDK's modules that callers may meet, beyond those that the platform header names.
 */
#ifndef HOSTSDK_SRC_TEXT_STATUS_H
#define HOSTSDK_SRC_TEXT_STATUS_H

#include <com/amazonaws/kinesis/video/common/PlatformUtils.h>

namespace zelrtc::hostsdk {

constexpr STATUS kStatusJsonUnreadable = 0x1500000c;

constexpr STATUS kStatusDescriptionTypeUnknown = 0x55000003;
constexpr STATUS kStatusDescriptionSdpMissing = 0x55000004;
constexpr STATUS kStatusDescriptionTypeMissing = 0x55000005;
constexpr STATUS kStatusDescriptionSdpTooLong = 0x55000006;
constexpr STATUS kStatusSdpUnreadable = 0x55000008;
constexpr STATUS kStatusFingerprintMissing = 0x55000009;
constexpr STATUS kStatusTooManyAttributes = 0x40000002;

constexpr STATUS kStatusCandidateNotAnObject = 0x5a000011;
constexpr STATUS kStatusCandidateMissing = 0x5a000012;
constexpr STATUS kStatusIceServerIndex = 0x5a000028;

constexpr STATUS kStatusTransportNotReady = 0x5b000006;
constexpr STATUS kStatusNoRemoteDescription = 0x5e000001;

}  // namespace zelrtc::hostsdk

#endif
