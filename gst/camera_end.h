/**
 * @file camera_end.h The camera's end of a call. The stand-in and the bare sender that it is measured against share it,
 * so that they differ in nothing but what stands above. What fails throws std::runtime_error with the reason.
 */
#ifndef GST_CAMERA_END_H
#define GST_CAMERA_END_H

#include <functional>
#include <optional>
#include <string>

#include "gst/elements.h"
#include "gst/handles.h"

namespace zelrtc::gst {

enum class Codec { kH264, kMulaw };

// The codec of the packets that come out of webrtcbin's pad; nothing when it is another one.
std::optional<Codec> codecOf(GstPad* webrtcPad);

// One m-line of the offer, as this end answers it.
struct Track {
    unsigned int mLineIndex = 0;
    Codec codec = Codec::kMulaw;
    int payloadType = 0;
    GstWebRTCRTPTransceiverDirection direction = GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE;
    std::optional<std::string> streamId;
};

// Everything but ICE servers and the addresses to gather on; before the pipeline starts.
void configureCameraEnd(GstElement* webrtcbin);

// After the remote description. Returns the appsrc that takes the frames, or null when the direction does not send.
GstPtr<GstElement> addTrack(GstElement* pipeline, GstElement* webrtcbin, const Track& track);

// Takes packets of the codec from webrtcbin's new pad; `handler` runs for each frame, as in handleSamples. The oldest
// frames are dropped where nobody pulls them. False when the pad does not fit.
bool receiveTrack(GstElement* pipeline, GstPad* webrtcPad, Codec codec, std::function<void(GstAppSink*)> handler);

}  // namespace zelrtc::gst

#endif
