/**
 * @file camera_end.h The camera's end of a call. The stand-in and the plain sender that it is compared with share it,
 * so that they differ only in what is built on it. Failures throw std::runtime_error with the reason.
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

// The codec of the packets from webrtcbin's pad; nothing if it is neither of these.
std::optional<Codec> codecOf(GstPad* webrtcPad);

// One m-line of the offer, as this end answers it.
struct Track {
    unsigned int mLineIndex = 0;
    Codec codec = Codec::kMulaw;
    int payloadType = 0;
    GstWebRTCRTPTransceiverDirection direction = GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE;
    std::optional<std::string> streamId;
    // Video comes as access units that need no parser: each is one buffer, and key frames have their parameter sets.
    bool areUnitsWhole = false;
};

// Sets up everything except ICE servers and the addresses to gather on. Call it before the pipeline starts.
void configureCameraEnd(GstElement* webrtcbin);

// Call it after the remote description is set. Returns the appsrc for the frames, or null if the direction does not
// send.
GstPtr<GstElement> addTrack(GstElement* pipeline, GstElement* webrtcbin, const Track& track);

// Receives packets of the codec from webrtcbin's new pad; `handler` runs for each frame, as in handleSamples. If nobody
// pulls the frames, the oldest are dropped. False if the pad does not fit.
bool receiveTrack(GstElement* pipeline, GstPad* webrtcPad, Codec codec, std::function<void(GstAppSink*)> handler);

}  // namespace zelrtc::gst

#endif
