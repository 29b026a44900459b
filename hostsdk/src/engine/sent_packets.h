/** @file sent_packets.h The packets sent last, for a far end that misses some. */
#ifndef HOSTSDK_SRC_ENGINE_SENT_PACKETS_H
#define HOSTSDK_SRC_ENGINE_SENT_PACKETS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "engine/resend_limit.h"
#include "gst/handles.h"

namespace zelrtc::hostsdk {

// The sequence numbers in the list of a generic NACK (RFC 4585 6.2.1).
std::vector<uint16_t> requestedNumbers(const uint8_t* list, size_t size);

// Answers a far end's NACK with the packets as they were. webrtcbin only sends again what was negotiated as a format of
// its own (RFC 4588), which not every far end offers. Any thread.
class SentPackets {
public:
    // Per source: two seconds of a stream of 2 Mbit/s.
    static constexpr size_t kMostKept = 512;

    // Keeps what goes through the encryption from now on.
    static std::shared_ptr<SentPackets> watch(GstElement* srtpenc);

    SentPackets();
    ~SentPackets();
    SentPackets(const SentPackets&) = delete;
    SentPackets& operator=(const SentPackets&) = delete;

    // Sends again what is still kept, as far as the limit allows.
    void resend(uint32_t source, const std::vector<uint16_t>& numbers);

private:
    using Shared = std::shared_ptr<SentPackets>;

    struct Kept {
        uint16_t number = 0;
        gst::GstPtr<GstBuffer> packet;
    };

    static void onPadAdded(GstElement* srtpenc, GstPad* pad, Shared* packets);
    static GstPadProbeReturn onPackets(GstPad*, GstPadProbeInfo* info, gpointer data);
    static gboolean keepEach(GstBuffer** packet, guint index, gpointer packets);
    void keep(GstBuffer* packet);
    gst::GstPtr<GstBuffer> find(uint32_t source, uint16_t number);

    // The pad's probe holds this, so this must not hold the pad.
    GWeakRef input_;
    std::mutex mutex_;
    std::map<uint32_t, std::vector<Kept>> kept_;  // by source, then by the number's last bits
    ResendLimit limit_;
};

}  // namespace zelrtc::hostsdk

#endif
