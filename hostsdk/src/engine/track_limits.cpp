#include "engine/track_limits.h"

#include <algorithm>

#include "engine/rtp_header.h"

namespace zelrtc::hostsdk {

namespace {

constexpr std::chrono::microseconds kSample{125};
constexpr size_t kTimestampOffset = 4;

// A fragment (FU-A) that is not the last of its unit.
bool isOpenFragment(const uint8_t* payload, size_t size) {
    constexpr uint8_t kTypeMask = 0x1f;
    constexpr uint8_t kFragment = 28;
    constexpr uint8_t kIsLast = 0x40;
    return size > 1 && (payload[0] & kTypeMask) == kFragment && (payload[1] & kIsLast) == 0;
}

}  // namespace

bool FragmentLimit::takes(const uint8_t* packet, size_t size) {
    if (size < kRtpHeaderBytes) {
        return false;
    }
    const uint32_t timestamp = readWord(packet + kTimestampOffset);
    if (timestamp_ != timestamp) {
        timestamp_ = timestamp;
        pictureBytes_ = 0;
    }
    const size_t offset = payloadOffset(packet, size);
    pictureBytes_ += size;
    unitBytes_ += size;
    const bool isTaken = std::max(pictureBytes_, unitBytes_) <= kMostBytes;
    if (!isOpenFragment(packet + offset, size - offset)) {
        unitBytes_ = 0;
    }
    return isTaken;
}

bool TalkLimit::takes(const uint8_t* packet, size_t size, Clock::time_point now) {
    const auto spoken = (size - payloadOffset(packet, size)) * kSample;
    const auto until = std::max(spokenUntil_, now - kMostAtOnce) + spoken;
    if (until > now) {
        return false;
    }
    spokenUntil_ = until;
    return true;
}

}  // namespace zelrtc::hostsdk
