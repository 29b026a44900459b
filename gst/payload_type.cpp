#include "gst/payload_type.h"

namespace zelrtc::gst {

namespace {

constexpr int kFirstDynamic = 96;
constexpr int kLast = 127;
constexpr guint8 kMarkerBit = 0x80;

// The second byte of an RTP header is the marker bit and the payload type.
GstPadProbeReturn renumber(GstPad*, GstPadProbeInfo* info, gpointer payloadType) {
    GstBuffer* const packet = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
    info->data = packet;
    GstMapInfo header;
    if (gst_buffer_map_range(packet, 0, 1, &header, GST_MAP_READWRITE)) {
        if (header.size > 1) {
            header.data[1] = static_cast<guint8>((header.data[1] & kMarkerBit) | GPOINTER_TO_INT(payloadType));
        }
        gst_buffer_unmap(packet, &header);
    }
    return GST_PAD_PROBE_OK;
}

}  // namespace

int packetiserType(int payloadType, int ownType) {
    const bool isDynamic = payloadType >= kFirstDynamic && payloadType <= kLast;
    return isDynamic || payloadType == ownType ? payloadType : kFirstDynamic;
}

std::string renumberedCaps(int payloadType) {
    return "capssetter caps=application/x-rtp,payload=(int)" + std::to_string(payloadType);
}

void renumberPackets(GstPad* pad, int payloadType) {
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, renumber, GINT_TO_POINTER(payloadType), nullptr);
}

}  // namespace zelrtc::gst
