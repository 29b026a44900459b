#include "gst/camera_end.h"

#include <stdexcept>
#include <utility>

#include "gst/ice_agent.h"
#include "gst/payload_type.h"

namespace zelrtc::gst {

namespace {

constexpr guint kJitterBufferMs = 100;

bool sends(GstWebRTCRTPTransceiverDirection direction) {
    return direction == GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV ||
           direction == GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY;
}

// Without the ssrc, retransmission would announce a source 0 and browsers would show no picture.
GstPtr<GstCaps> packetCaps(const Track& track, guint ssrc) {
    const bool isAudio = track.codec == Codec::kMulaw;
    GstPtr<GstCaps> caps(gst_caps_new_simple("application/x-rtp", "media", G_TYPE_STRING, isAudio ? "audio" : "video",
                                             "encoding-name", G_TYPE_STRING, isAudio ? "PCMU" : "H264", "clock-rate",
                                             G_TYPE_INT, isAudio ? 8000 : 90000, "payload", G_TYPE_INT,
                                             track.payloadType, "ssrc", G_TYPE_UINT, ssrc, nullptr));
    if (!isAudio) {
        gst_caps_set_simple(caps.get(), "packetization-mode", G_TYPE_STRING, "1", nullptr);
    }
    return caps;
}

int ownPayloadType(Codec codec) {
    constexpr int kNone = -1;
    return codec == Codec::kMulaw ? 0 : kNone;
}

// The parameter sets are repeated with each key frame, so that late joiners see a picture. The audio packetiser must
// not count samples for its timestamps: a pause in the frames is a pause in the call.
std::string packetiserChain(const Track& track) {
    if (track.codec == Codec::kMulaw) {
        return "appsrc name=source is-live=true format=time caps=audio/x-mulaw,rate=8000,channels=1 ! "
               "rtppcmupay min-ptime=20000000 max-ptime=20000000 perfect-rtptime=false";
    }
    const std::string parser = track.areUnitsWhole ? "" : "h264parse config-interval=-1 ! ";
    return "appsrc name=source is-live=true format=time caps=video/x-h264,stream-format=byte-stream,alignment=au ! " +
           parser + "rtph264pay aggregate-mode=zero-latency config-interval=-1 mtu=1200";
}

const char* depacketiserChain(Codec codec) {
    if (codec == Codec::kMulaw) {
        return "rtppcmudepay ! appsink name=sink sync=false async=false max-buffers=50 drop=true";
    }
    return "rtph264depay ! video/x-h264,stream-format=byte-stream,alignment=au ! "
           "appsink name=sink sync=false async=false max-buffers=50 drop=true";
}

// Floating.
GstElement* makeSender(const Track& track, guint ssrc) {
    const int packetiserNumber = packetiserType(track.payloadType, ownPayloadType(track.codec));
    const std::string chain =
        packetiserChain(track) + " pt=" + std::to_string(packetiserNumber) + " ssrc=" + std::to_string(ssrc);
    if (packetiserNumber == track.payloadType) {
        return makeBin(chain);
    }
    GstElement* const sender = makeBin(chain + " ! " + renumberedCaps(track.payloadType));
    const GstPtr<GstPad> output(gst_element_get_static_pad(sender, "src"));
    renumberPackets(output.get(), track.payloadType);
    return sender;
}

// Floating.
GstElement* makeReceiver(GstPad* webrtcPad, Codec codec) {
    gint payloadType = 0;
    const GstPtr<GstCaps> caps(gst_pad_get_current_caps(webrtcPad));
    gst_structure_get_int(gst_caps_get_structure(caps.get(), 0), "payload", &payloadType);
    const int known = packetiserType(payloadType, ownPayloadType(codec));
    const std::string renumbering = known == payloadType ? "" : renumberedCaps(known) + " ! ";
    return makeBin(renumbering + depacketiserChain(codec));
}

GstPtr<GstPad> requestPad(GstElement* webrtcbin, const Track& track, GstCaps* caps) {
    GstPadTemplate* const padTemplate = gst_element_get_pad_template(webrtcbin, "sink_%u");
    const std::string name = "sink_" + std::to_string(track.mLineIndex);
    GstPtr<GstPad> pad(gst_element_request_pad(webrtcbin, padTemplate, name.c_str(), caps));
    if (pad == nullptr) {
        throw std::runtime_error("webrtcbin gives no pad for m-line " + std::to_string(track.mLineIndex));
    }
    if (track.streamId) {
        g_object_set(pad.get(), "msid", track.streamId->c_str(), nullptr);
    }
    return pad;
}

void configureTransceiver(GstPad* pad, const Track& track, GstCaps* caps) {
    const auto transceiver = ownedProperty<GstWebRTCRTPTransceiver>(pad, "transceiver");
    g_object_set(transceiver.get(), "codec-preferences", caps, "direction", track.direction, nullptr);
    if (track.codec == Codec::kH264) {
        g_object_set(transceiver.get(), "do-nack", TRUE, nullptr);
    }
}

// From the times of sending, a sender report would be right only in a pipeline whose latency is known. Here nobody
// works it out, and each report would be wrong by another time: of picture and sound, by as much as came between their
// last packets, and by the whole of a pause in either.
void reportCaptureTimes(GstElement* webrtcbin) {
    g_object_set(elementOf(webrtcbin, "rtpbin").get(), "rtcp-sync-send-time", FALSE, nullptr);
}

}  // namespace

std::optional<Codec> codecOf(GstPad* webrtcPad) {
    const GstPtr<GstCaps> caps(gst_pad_get_current_caps(webrtcPad));
    if (caps == nullptr) {
        return std::nullopt;
    }
    const char* const name = gst_structure_get_string(gst_caps_get_structure(caps.get(), 0), "encoding-name");
    if (g_strcmp0(name, "PCMU") == 0) {
        return Codec::kMulaw;
    }
    if (g_strcmp0(name, "H264") == 0) {
        return Codec::kH264;
    }
    return std::nullopt;
}

void configureCameraEnd(GstElement* webrtcbin) {
    g_object_set(webrtcbin, "bundle-policy", GST_WEBRTC_BUNDLE_POLICY_MAX_BUNDLE, "latency", kJitterBufferMs, nullptr);
    speedUpAgent(webrtcbin);
    gatherUdpOnly(webrtcbin);
    reportCaptureTimes(webrtcbin);
}

GstPtr<GstElement> addTrack(GstElement* pipeline, GstElement* webrtcbin, const Track& track) {
    const auto ssrc = static_cast<guint>(g_random_int_range(1, G_MAXINT32));
    const GstPtr<GstCaps> caps = packetCaps(track, ssrc);
    if (!sends(track.direction)) {
        GstWebRTCRTPTransceiver* added = nullptr;
        g_signal_emit_by_name(webrtcbin, "add-transceiver", track.direction, caps.get(), &added);
        const GstPtr<GstWebRTCRTPTransceiver> transceiver(added);
        return nullptr;
    }
    const GstPtr<GstPad> input = requestPad(webrtcbin, track, caps.get());
    configureTransceiver(input.get(), track, caps.get());

    GstElement* const sender = makeSender(track, ssrc);
    gst_bin_add(GST_BIN(pipeline), sender);
    const GstPtr<GstPad> output(gst_element_get_static_pad(sender, "src"));
    gst_pad_link(output.get(), input.get());
    gst_element_sync_state_with_parent(sender);
    return elementOf(sender, "source");
}

bool receiveTrack(GstElement* pipeline, GstPad* webrtcPad, Codec codec, std::function<void(GstAppSink*)> handler) {
    GstElement* const receiver = makeReceiver(webrtcPad, codec);
    handleSamples(elementOf(receiver, "sink").get(), std::move(handler));
    return addReceiver(pipeline, webrtcPad, receiver);
}

}  // namespace zelrtc::gst
