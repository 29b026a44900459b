// Tells the far end that the call is over.
#ifndef HOSTSDK_SRC_ENGINE_DTLS_CLOSE_H
#define HOSTSDK_SRC_ENGINE_DTLS_CLOSE_H

#include <gst/gst.h>

namespace zelrtc::hostsdk {

// Sends the DTLS close alert on the connected transport inside the bin and waits briefly until it is out. webrtcbin
// itself sends none, and a browser would take half a minute to notice.
void sendDtlsClose(GstBin* webrtcbin);

}  // namespace zelrtc::hostsdk

#endif
