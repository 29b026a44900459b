/** @file packet_lists.h Lists of packets that stay together. */
#ifndef GST_PACKET_LISTS_H
#define GST_PACKET_LISTS_H

#include "gst/handles.h"

namespace zelrtc::gst {

// webrtcbin puts an encoder for redundancy, and one for its envelope, into every sender's way. Neither takes lists, so
// each packet of a picture goes through everything behind them alone. Lets lists pass an encoder as they are, for as
// long as it is switched off and would pass on each packet unchanged. Any other element is left alone, and so is one
// that cannot be told to be switched off. Before data flows.
void letListsPass(GstElement* encoder);

}  // namespace zelrtc::gst

#endif
