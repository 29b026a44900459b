/**
 * @file payload_type.h Payload types that GStreamer's packetisers do not give: they know the one of their codec and 96
 * to 127, while a far end may choose any.
 */
#ifndef GST_PAYLOAD_TYPE_H
#define GST_PAYLOAD_TYPE_H

#include <string>

#include "gst/handles.h"

namespace zelrtc::gst {

// The payload type for a packetiser or its counterpart whose packets have `payloadType` on the way; `ownType` is the
// codec's own, or a negative number when it has none.
int packetiserType(int payloadType, int ownType);

// For a pipeline's text, behind a packetiser or before its counterpart: the packets' caps have this payload type.
std::string renumberedCaps(int payloadType);

// Writes the payload type into all packets that leave the pad.
void renumberPackets(GstPad* pad, int payloadType);

}  // namespace zelrtc::gst

#endif
