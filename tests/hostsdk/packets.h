/** @file packets.h RTP and RTCP packets, written as a viewer may write them. */
#ifndef TESTS_HOSTSDK_PACKETS_H
#define TESTS_HOSTSDK_PACKETS_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zelrtc::test {

using Bytes = std::vector<uint8_t>;

void appendWord(Bytes* bytes, uint32_t word);

Bytes rtpPacket(uint32_t source, uint32_t timestamp, const Bytes& payload,
                const std::vector<uint32_t>& contributors = {}, uint16_t sequence = 0);

// Without a report in it.
Bytes receiverReport(uint32_t source);

// Each source with a name of one letter.
Bytes descriptions(const std::vector<uint32_t>& sources);

// Asks for packets of `media` again: `first`, and those after it whose bit is set.
Bytes retransmissionRequest(uint32_t source, uint32_t media, uint16_t first, uint16_t following = 0);

}  // namespace zelrtc::test

#endif
