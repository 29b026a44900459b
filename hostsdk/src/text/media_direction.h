/** @file media_direction.h Directions of media, as offers and answers have them. */
#ifndef HOSTSDK_SRC_TEXT_MEDIA_DIRECTION_H
#define HOSTSDK_SRC_TEXT_MEDIA_DIRECTION_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include "text/session_description.h"

namespace zelrtc::hostsdk {

// The section's direction or else the session's; sendrecv when neither has one.
RTC_RTP_TRANSCEIVER_DIRECTION offeredDirection(const SessionDescription& offer, const Section& section);

// The direction to answer with, given what the offer wants and what the transceiver can do.
RTC_RTP_TRANSCEIVER_DIRECTION answerDirection(RTC_RTP_TRANSCEIVER_DIRECTION offered, RTC_RTP_TRANSCEIVER_DIRECTION own);

// The same direction, seen from the other end.
RTC_RTP_TRANSCEIVER_DIRECTION oppositeDirection(RTC_RTP_TRANSCEIVER_DIRECTION direction);

bool isSending(RTC_RTP_TRANSCEIVER_DIRECTION direction);
bool isReceiving(RTC_RTP_TRANSCEIVER_DIRECTION direction);

// "sendrecv"
const char* directionName(RTC_RTP_TRANSCEIVER_DIRECTION direction);

}  // namespace zelrtc::hostsdk

#endif
