/** @file dtls_close.h Telling the far end that the call is over. */
#ifndef HOSTSDK_SRC_ENGINE_DTLS_CLOSE_H
#define HOSTSDK_SRC_ENGINE_DTLS_CLOSE_H

#include <gst/gst.h>

namespace zelrtc::hostsdk {

// Sends the closing alert of DTLS on the connected transport inside the bin, and waits until it has left, but not for
// long. webrtcbin by itself leaves without a word, and a browser would take half a minute to notice.
void sendDtlsClose(GstBin* webrtcbin);

}  // namespace zelrtc::hostsdk

#endif
