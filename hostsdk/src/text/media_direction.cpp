#include "text/media_direction.h"

namespace zelrtc::hostsdk {

namespace {

constexpr RTC_RTP_TRANSCEIVER_DIRECTION kAll[] = {
    RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV, RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY,
    RTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY, RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE};

std::optional<RTC_RTP_TRANSCEIVER_DIRECTION> directionAmong(const Attributes& attributes) {
    for (const RTC_RTP_TRANSCEIVER_DIRECTION direction : kAll) {
        if (attributes.has(directionName(direction))) {
            return direction;
        }
    }
    return std::nullopt;
}

RTC_RTP_TRANSCEIVER_DIRECTION directionOf(bool sends, bool receives) {
    if (sends) {
        return receives ? RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV : RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY;
    }
    return receives ? RTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY : RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE;
}

}  // namespace

RTC_RTP_TRANSCEIVER_DIRECTION offeredDirection(const SessionDescription& offer, const Section& section) {
    const std::optional<RTC_RTP_TRANSCEIVER_DIRECTION> own = directionAmong(section.attributes);
    return own ? *own : directionAmong(offer.session).value_or(RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV);
}

RTC_RTP_TRANSCEIVER_DIRECTION answerDirection(RTC_RTP_TRANSCEIVER_DIRECTION offered,
                                              RTC_RTP_TRANSCEIVER_DIRECTION own) {
    return directionOf(isReceiving(offered) && isSending(own), isSending(offered) && isReceiving(own));
}

RTC_RTP_TRANSCEIVER_DIRECTION oppositeDirection(RTC_RTP_TRANSCEIVER_DIRECTION direction) {
    return directionOf(isReceiving(direction), isSending(direction));
}

bool isSending(RTC_RTP_TRANSCEIVER_DIRECTION direction) {
    return direction == RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV || direction == RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY;
}

bool isReceiving(RTC_RTP_TRANSCEIVER_DIRECTION direction) {
    return direction == RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV || direction == RTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY;
}

const char* directionName(RTC_RTP_TRANSCEIVER_DIRECTION direction) {
    switch (direction) {
        case RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV:
            return "sendrecv";
        case RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY:
            return "sendonly";
        case RTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY:
            return "recvonly";
        case RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE:
            break;
    }
    return "inactive";
}

}  // namespace zelrtc::hostsdk
