/** @file offer_rules.h Which offers the SDK refuses, beyond those that are no session description. */
#ifndef HOSTSDK_SRC_TEXT_OFFER_RULES_H
#define HOSTSDK_SRC_TEXT_OFFER_RULES_H

#include <com/amazonaws/kinesis/video/common/PlatformUtils.h>

#include <string>

namespace zelrtc::hostsdk {

// The status with which the SDK refuses to take the offer; success when it takes it.
STATUS checkOffer(const std::string& sdp);

// Whether the offer's `s=` says something. The SDK takes one without, and then answers as if there were no offer.
bool hasSessionName(const std::string& sdp);

}  // namespace zelrtc::hostsdk

#endif
