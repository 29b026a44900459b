/** @file dtls.h The DTLS transport inside webrtcbin. */
#ifndef GST_DTLS_H
#define GST_DTLS_H

#include <gst/gst.h>

namespace zelrtc::gst {

enum class DtlsState { kNew, kClosed, kFailed, kConnecting, kConnected };

// The property "connection-state" of a dtlsdec or dtlsenc.
DtlsState dtlsState(GstElement* element);

// Drops application data that arrives over DTLS, for an end that negotiates no data channel. A far end may still start
// an SCTP association, as the SDK does on every call; with nobody to take it, the first packet would stop all
// receiving. Call it before the pipeline starts.
void dropData(GstElement* webrtcbin);

// Sends the DTLS close alert on the connected transport inside the bin and waits briefly until it is out. webrtcbin
// itself sends none, so that a browser would take half a minute to notice.
void sendDtlsClose(GstElement* webrtcbin);

}  // namespace zelrtc::gst

#endif
