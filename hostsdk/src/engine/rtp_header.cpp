#include "engine/rtp_header.h"

#include <algorithm>

namespace zelrtc::hostsdk {

namespace {

constexpr size_t kWord = 4;
constexpr uint8_t kHasExtension = 0x10;

}  // namespace

size_t payloadOffset(const uint8_t* packet, size_t size) {
    if (size < kRtpHeaderBytes) {
        return size;
    }
    size_t offset = kRtpHeaderBytes + contributorsIn(packet) * kWord;
    if ((packet[0] & kHasExtension) != 0 && offset + kWord <= size) {
        const auto words = static_cast<size_t>(packet[offset + 2] << 8U | packet[offset + 3]);
        offset += (words + 1) * kWord;
    }
    return std::min(offset, size);
}

}  // namespace zelrtc::hostsdk
