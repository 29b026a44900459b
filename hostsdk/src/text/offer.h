// The parts of an offer that the answer depends on.
#ifndef HOSTSDK_SRC_TEXT_OFFER_H
#define HOSTSDK_SRC_TEXT_OFFER_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <optional>
#include <string>
#include <vector>

namespace zelrtc::hostsdk {

struct PayloadFormat {
    int payloadType = 0;
    std::string encoding;    // from the rtpmap: "H264/90000"
    std::string parameters;  // from the fmtp; empty if there is none
};

struct OfferedMedia {
    std::string kind;  // "audio", "video", "application"
    std::string mid;
    RTC_RTP_TRANSCEIVER_DIRECTION direction = RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV;
    bool rejected = false;
    std::vector<PayloadFormat> formats;
};

// One entry per m-line, in order; empty if the text is not a session description or has no m-line.
std::vector<OfferedMedia> parseOffer(const std::string& sdp);

// The format to answer with: for H.264 the one nearest to constrained baseline in packetization mode 1.
std::optional<PayloadFormat> chooseFormat(const OfferedMedia& media, RTC_CODEC codec);

// The profile-level-id among an fmtp's parameters; empty if there is none.
std::string profileLevelId(const std::string& parameters);

// The direction to answer with, given the offer's direction and the transceiver's own.
RTC_RTP_TRANSCEIVER_DIRECTION answerDirection(RTC_RTP_TRANSCEIVER_DIRECTION offered, RTC_RTP_TRANSCEIVER_DIRECTION own);

}  // namespace zelrtc::hostsdk

#endif
