// The DTLS transport inside webrtcbin.
#ifndef GST_DTLS_H
#define GST_DTLS_H

#include <gst/gst.h>

namespace zelrtc::gst {

enum class DtlsState { kNew, kClosed, kFailed, kConnecting, kConnected };

// The property "connection-state" of a dtlsdec or dtlsenc.
DtlsState dtlsState(GstElement* element);

// Sends the closing alert of DTLS on the connected transport inside the bin, and waits until it has left, but not for
// long. webrtcbin by itself leaves without a word, and a browser would take half a minute to notice.
void sendDtlsClose(GstElement* webrtcbin);

}  // namespace zelrtc::gst

#endif
