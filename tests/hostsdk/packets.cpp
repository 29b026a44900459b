#include "packets.h"

namespace zelrtc::test {

namespace {

Bytes controlHeader(unsigned count, uint8_t type, size_t words) {
    return {static_cast<uint8_t>(0x80U | count), type, static_cast<uint8_t>(words >> 8U), static_cast<uint8_t>(words)};
}

}  // namespace

void appendWord(Bytes* bytes, uint32_t word) {
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes->push_back(static_cast<uint8_t>(word >> shift));
    }
}

Bytes rtpPacket(uint32_t source, uint32_t timestamp, const Bytes& payload, const std::vector<uint32_t>& contributors,
                uint16_t sequence) {
    Bytes packet{static_cast<uint8_t>(0x80U | contributors.size()), 0, static_cast<uint8_t>(sequence >> 8U),
                 static_cast<uint8_t>(sequence)};
    appendWord(&packet, timestamp);
    appendWord(&packet, source);
    for (const uint32_t contributor : contributors) {
        appendWord(&packet, contributor);
    }
    packet.insert(packet.end(), payload.begin(), payload.end());
    return packet;
}

Bytes receiverReport(uint32_t source) {
    Bytes packet = controlHeader(0, 201, 1);
    appendWord(&packet, source);
    return packet;
}

Bytes descriptions(const std::vector<uint32_t>& sources) {
    Bytes packet = controlHeader(static_cast<unsigned>(sources.size()), 202, 2 * sources.size());
    for (const uint32_t source : sources) {
        appendWord(&packet, source);
        appendWord(&packet, 0x01016100);  // CNAME, one byte, "a", end
    }
    return packet;
}

Bytes retransmissionRequest(uint32_t source, uint32_t media, uint16_t first, uint16_t following) {
    Bytes packet = controlHeader(1, 205, 3);
    appendWord(&packet, source);
    appendWord(&packet, media);
    appendWord(&packet, static_cast<uint32_t>(first) << 16U | following);
    return packet;
}

}  // namespace zelrtc::test
