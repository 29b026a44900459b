/** @file payload_format.h The formats of a section, and which of them to answer with. */
#ifndef HOSTSDK_SRC_TEXT_PAYLOAD_FORMAT_H
#define HOSTSDK_SRC_TEXT_PAYLOAD_FORMAT_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <optional>
#include <string>
#include <vector>

#include "text/session_description.h"

namespace zelrtc::hostsdk {

struct PayloadFormat {
    int payloadType = 0;
    std::string encoding;    // of the rtpmap: "H264/90000"
    std::string parameters;  // of the fmtp, empty when there is none
};

// Those with a payload type that RTP and RTCP can share a port with (RFC 5761), in their order.
std::vector<PayloadFormat> payloadFormats(const Section& section);

// The format to answer with: for H.264 the one that is nearest to constrained baseline, always in packetization mode 1,
// because frames come as large as they are. Nothing when there is none; `reason` then says why.
std::optional<PayloadFormat> chooseFormat(const Section& section, RTC_CODEC codec, std::string* reason);

// The parameters to answer with: those of the offer that say what is sent.
std::string answeredParameters(const PayloadFormat& format, RTC_CODEC codec);

}  // namespace zelrtc::hostsdk

#endif
