#include "packet_delay.h"

#include <cstdint>

namespace zelrtc::viewer {
namespace {

constexpr const char* kSenderClock = "timestamp/x-ntp";
// From 1900, where RTCP's clock begins, to 1970.
constexpr uint64_t kSecondsBeforeUnix = 2208988800;

}  // namespace

std::optional<double> packetDelayMs(GstBuffer* packet) {
    GstCaps* const clock = gst_caps_new_empty_simple(kSenderClock);
    const GstReferenceTimestampMeta* const stamp = gst_buffer_get_reference_timestamp_meta(packet, clock);
    gst_caps_unref(clock);
    if (stamp == nullptr) {
        return std::nullopt;
    }
    const auto now = static_cast<uint64_t>(g_get_real_time()) * GST_USECOND + kSecondsBeforeUnix * GST_SECOND;
    return static_cast<double>(static_cast<int64_t>(now - stamp->timestamp)) / static_cast<double>(GST_MSECOND);
}

}  // namespace zelrtc::viewer
