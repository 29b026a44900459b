/** @file rtp_header.h What the engine reads in the fixed parts of RTP and RTCP packets (RFC 3550, 5761). */
#ifndef HOSTSDK_SRC_ENGINE_RTP_HEADER_H
#define HOSTSDK_SRC_ENGINE_RTP_HEADER_H

#include <cstddef>
#include <cstdint>

namespace zelrtc::hostsdk {

constexpr size_t kRtpHeaderBytes = 12;

inline uint32_t readWord(const uint8_t* at) {
    return static_cast<uint32_t>(at[0]) << 24U | static_cast<uint32_t>(at[1]) << 16U |
           static_cast<uint32_t>(at[2]) << 8U | at[3];
}

// Whether a packet on a port that RTP and RTCP share is the latter.
inline bool isControlPacket(const uint8_t* packet, size_t size) {
    return size > 1 && packet[1] >= 192 && packet[1] <= 223;
}

// How many contributing sources the packet names. It has a first byte.
inline size_t contributorsIn(const uint8_t* packet) {
    return packet[0] & 0x0fU;
}

// Where the payload begins; the packet's size if there is none.
size_t payloadOffset(const uint8_t* packet, size_t size);

}  // namespace zelrtc::hostsdk

#endif
