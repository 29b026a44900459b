/**
 * @file description.h Session descriptions, converted from and to text and exchanged with webrtcbin. Failures throw
 * std::runtime_error with the reason.
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

// Includes the candidates found so far; null until a description is set.
Description localDescription(GstElement* webrtcbin);

}  // namespace zelrtc::gst

#endif
