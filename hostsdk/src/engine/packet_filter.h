/** @file packet_filter.h Dropping packets that come in. */
#ifndef HOSTSDK_SRC_ENGINE_PACKET_FILTER_H
#define HOSTSDK_SRC_ENGINE_PACKET_FILTER_H

#include <gst/gst.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace zelrtc::hostsdk {

using PacketTest = std::function<bool(const uint8_t* packet, size_t size)>;

// Drops the packets that come through the pad and fail the test, which runs on the pad's streaming thread. The log says
// once that it happens, and why.
void dropUnless(GstPad* pad, const std::string& reason, PacketTest test);

}  // namespace zelrtc::hostsdk

#endif
