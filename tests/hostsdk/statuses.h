/** @file statuses.h Statuses of the C library that the tests expect. */
#ifndef TESTS_HOSTSDK_STATUSES_H
#define TESTS_HOSTSDK_STATUSES_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

namespace zelrtc::test {

constexpr STATUS kNotJson = 0x1500000c;
constexpr STATUS kSdpUnreadable = 0x55000008;
constexpr STATUS kFingerprintMissing = 0x55000009;
constexpr STATUS kNoRemoteDescription = 0x5e000001;
constexpr STATUS kTransportNotReady = 0x5b000006;

}  // namespace zelrtc::test

#endif
