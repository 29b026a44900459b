/** @file offer.h What an offer asks for, as far as the answer depends on it. */
#ifndef HOSTSDK_SRC_TEXT_OFFER_H
#define HOSTSDK_SRC_TEXT_OFFER_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <optional>
#include <string>
#include <vector>

namespace zelrtc::hostsdk {

struct PayloadFormat {
    int payloadType = 0;
    std::string encoding;    // of the rtpmap: "H264/90000"
    std::string parameters;  // of the fmtp, empty when there is none
};

struct OfferedMedia {
    std::string kind;  // "audio", "video", "application"
    std::string mid;
    RTC_RTP_TRANSCEIVER_DIRECTION direction = RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV;
    bool rejected = false;
    bool namesSource = false;  // an a=ssrc line: without one the SDK knows no sender of the media
    std::vector<PayloadFormat> formats;
};

// One entry per m-line, in their order; empty when the text is no session description or has no m-line.
std::vector<OfferedMedia> parseOffer(const std::string& sdp);

// The format to answer with: for H.264 the one that is nearest to constrained baseline in packetization mode 1.
std::optional<PayloadFormat> chooseFormat(const OfferedMedia& media, RTC_CODEC codec);

// The profile-level-id among the parameters of an fmtp; empty when there is none.
std::string profileLevelId(const std::string& parameters);

// The direction to answer with, given what the offer wants and what the transceiver can do.
RTC_RTP_TRANSCEIVER_DIRECTION answerDirection(RTC_RTP_TRANSCEIVER_DIRECTION offered, RTC_RTP_TRANSCEIVER_DIRECTION own);

}  // namespace zelrtc::hostsdk

#endif
