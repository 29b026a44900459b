#include "engine/viewer_sources.h"

#include "engine/rtp_header.h"

namespace zelrtc::hostsdk {

namespace {

constexpr size_t kControlHeaderBytes = 8;
constexpr uint8_t kSourceDescription = 202;
constexpr size_t kWord = 4;

}  // namespace

bool ViewerSources::takesEncrypted(const uint8_t* packet, size_t size) {
    const size_t source = isControlPacket(packet, size) ? 4 : 8;
    if (size < source + kWord) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    return add(&encrypted_, kMostSources, readWord(packet + source));
}

bool ViewerSources::takesMedia(const uint8_t* packet, size_t size) {
    if (size < kRtpHeaderBytes + contributorsIn(packet) * kWord) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    for (size_t i = 0; i < contributorsIn(packet); i++) {
        if (!add(&contributors_, kMostContributors, readWord(packet + kRtpHeaderBytes + i * kWord))) {
            return false;
        }
    }
    return true;
}

bool ViewerSources::takesControl(const uint8_t* packet, size_t size) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (size_t at = 0; at + kControlHeaderBytes <= size;) {
        const uint8_t* const part = packet + at;
        const size_t bytes = (static_cast<size_t>(part[2] << 8U | part[3]) + 1) * kWord;
        const bool hasSource = bytes >= kControlHeaderBytes && part[1] != kSourceDescription;
        if (bytes > size - at || (hasSource && !add(&reporters_, kMostSources, readWord(part + kWord))) ||
            (part[1] == kSourceDescription && !takesDescriptions(part, bytes))) {
            return false;
        }
        at += bytes;
    }
    return true;
}

// Chunks of a source and its items, which end with a zero and are filled up to a whole word.
bool ViewerSources::takesDescriptions(const uint8_t* packet, size_t size) {
    for (size_t at = kWord; at + kWord <= size;) {
        if (!add(&reporters_, kMostSources, readWord(packet + at))) {
            return false;
        }
        at += kWord;
        while (at < size && packet[at] != 0) {
            at += at + 1 < size ? size_t{2} + packet[at + 1] : 1;
        }
        at = (at / kWord + 1) * kWord;
    }
    return true;
}

bool ViewerSources::add(Set* set, size_t most, uint32_t source) {
    return set->count(source) != 0 || (set->size() < most && set->insert(source).second);
}

}  // namespace zelrtc::hostsdk
