#include "gst/description.h"

#include <gst/sdp/gstsdpmessage.h>

#include <stdexcept>

#include "gst/reply.h"

namespace zelrtc::gst {

namespace {

Description create(GstElement* webrtcbin, const char* action, const char* field) {
    const Reply reply(webrtcbin, action);
    reply.require();
    GstWebRTCSessionDescription* created = nullptr;
    if (reply.structure() == nullptr ||
        !gst_structure_get(reply.structure(), field, GST_TYPE_WEBRTC_SESSION_DESCRIPTION, &created, nullptr)) {
        throw std::runtime_error(std::string(action) + ": the reply holds no " + field);
    }
    return Description(created);
}

}  // namespace

Description readDescription(GstWebRTCSDPType type, const std::string& sdp) {
    GstSDPMessage* message = nullptr;
    if (gst_sdp_message_new_from_text(sdp.c_str(), &message) != GST_SDP_OK) {
        throw std::runtime_error(std::string("the ") + gst_webrtc_sdp_type_to_string(type) +
                                 " is no session description");
    }
    return Description(gst_webrtc_session_description_new(type, message));
}

std::string writeDescription(const Description& description) {
    return takeText(gst_sdp_message_as_text(description->sdp));
}

Description createOffer(GstElement* webrtcbin) {
    return create(webrtcbin, "create-offer", "offer");
}

Description createAnswer(GstElement* webrtcbin) {
    return create(webrtcbin, "create-answer", "answer");
}

void setLocalDescription(GstElement* webrtcbin, const Description& description) {
    Reply(webrtcbin, "set-local-description", description.get()).require();
}

void setRemoteDescription(GstElement* webrtcbin, const Description& description) {
    Reply(webrtcbin, "set-remote-description", description.get()).require();
}

Description localDescription(GstElement* webrtcbin) {
    return ownedProperty<GstWebRTCSessionDescription>(webrtcbin, "local-description");
}

}  // namespace zelrtc::gst
