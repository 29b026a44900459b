// Telling the far end that the call is over.
#ifndef GST_DTLS_H
#define GST_DTLS_H

#include <gst/gst.h>

namespace zelrtc::gst {

// Sends the closing alert of DTLS on the connected transport inside the bin, and waits until it has left, but not for
// long. webrtcbin by itself leaves without a word, and a browser would take half a minute to notice.
void sendDtlsClose(GstBin* webrtcbin);

}  // namespace zelrtc::gst

#endif
