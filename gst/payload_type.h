/**
 * @file payload_type.h Payload types that GStreamer's packetisers cannot produce: they know their codec's own and 96 to
 * 127, while a far end may choose any.
 */
#ifndef GST_PAYLOAD_TYPE_H
#define GST_PAYLOAD_TYPE_H

#include <string>

#include "gst/handles.h"

namespace zelrtc::gst {

// The payload type to set on a packetiser or depacketiser whose packets carry `payloadType` on the wire; `ownType` is
// the codec's own, or negative if it has none.
int packetiserType(int payloadType, int ownType);

// Pipeline text, to follow a packetiser or precede a depacketiser, that puts this payload type into the packets' caps.
std::string renumberedCaps(int payloadType);

// Writes the payload type into all packets that leave the pad.
void renumberPackets(GstPad* pad, int payloadType);

}  // namespace zelrtc::gst

#endif
