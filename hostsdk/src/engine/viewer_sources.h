/** @file viewer_sources.h How many sources a viewer may name. */
#ifndef HOSTSDK_SRC_ENGINE_VIEWER_SOURCES_H
#define HOSTSDK_SRC_ENGINE_VIEWER_SOURCES_H

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <set>

namespace zelrtc::hostsdk {

// GStreamer keeps keys, queues and a thread for each source that it hears of, and forgets none for long. So packets of
// more sources than a viewer can have any use for are dropped; those of the first ones pass. Any thread.
class ViewerSources {
public:
    static constexpr size_t kMostSources = 8;
    static constexpr size_t kMostContributors = 16;

    // Each says whether a packet may pass. One that came in, RTP or RTCP, still encrypted: the keys of its source are
    // made before anybody knows whether it is genuine.
    bool takesEncrypted(const uint8_t* packet, size_t size);
    // Decrypted RTP, for those whose sound is mixed in it.
    bool takesMedia(const uint8_t* packet, size_t size);
    // Decrypted RTCP, which is several packets in one, each with sources of its own.
    bool takesControl(const uint8_t* packet, size_t size);

private:
    using Set = std::set<uint32_t>;

    static bool add(Set* set, size_t most, uint32_t source);
    bool takesDescriptions(const uint8_t* packet, size_t size);

    std::mutex mutex_;
    Set encrypted_;
    Set contributors_;
    Set reporters_;
};

}  // namespace zelrtc::hostsdk

#endif
