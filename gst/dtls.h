/** @file dtls.h The DTLS transport inside webrtcbin. */
#ifndef GST_DTLS_H
#define GST_DTLS_H

#include <gst/gst.h>

namespace zelrtc::gst {

enum class DtlsState { kNew, kClosed, kFailed, kConnecting, kConnected };

// The property "connection-state" of a dtlsdec or dtlsenc.
DtlsState dtlsState(GstElement* element);

// Drops what comes through DTLS besides the keys: for an end that negotiates no data channel. Without it the first
// packet of a far end that starts an SCTP association all the same, as the SDK does on every call, finds no taker and
// ends the receiving of everything. Before the pipeline starts.
void dropData(GstElement* webrtcbin);

// Sends the DTLS close alert on the connected transport inside the bin and waits briefly until it is out. webrtcbin
// itself sends none, and a browser would take half a minute to notice.
void sendDtlsClose(GstElement* webrtcbin);

}  // namespace zelrtc::gst

#endif
