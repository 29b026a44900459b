/**
 * @file description.h Session descriptions: between text and webrtcbin. What fails throws std::runtime_error with the
 * reason.
 */
#ifndef GST_DESCRIPTION_H
#define GST_DESCRIPTION_H

#include <string>

#include "gst/handles.h"

namespace zelrtc::gst {

using Description = GstPtr<GstWebRTCSessionDescription>;

Description readDescription(GstWebRTCSDPType type, const std::string& sdp);
std::string writeDescription(const Description& description);

// These wait for webrtcbin, so none of its own threads may call them.
Description createOffer(GstElement* webrtcbin);
Description createAnswer(GstElement* webrtcbin);
void setLocalDescription(GstElement* webrtcbin, const Description& description);
void setRemoteDescription(GstElement* webrtcbin, const Description& description);

// With the candidates found so far; null before one is set.
Description localDescription(GstElement* webrtcbin);

}  // namespace zelrtc::gst

#endif
