/** The SDK's statuses that the tests name, by value. */
#ifndef TESTS_HOSTSDK_STATUSES_H
#define TESTS_HOSTSDK_STATUSES_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

constexpr STATUS kNotJson = 0x1500000c;
constexpr STATUS kTransportNotReady = 0x5b000006;

#endif
