/** @file packet_delay.h How late a packet comes by its sender's own clock. */
#ifndef APPS_VIEWER_PACKET_DELAY_H
#define APPS_VIEWER_PACKET_DELAY_H

#include <gst/gst.h>

#include <optional>

namespace zelrtc::viewer {

/**
 * The time from the packet's timestamp, read on the sender's clock, to now. Of picture and sound it differs by as much
 * as a player that follows the timestamps shows one too late; on one machine, the value itself is the delay.
 * @return milliseconds; nothing until the sender has reported which time its timestamps stand for
 */
std::optional<double> packetDelayMs(GstBuffer* packet);

}  // namespace zelrtc::viewer

#endif
