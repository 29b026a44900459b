#include "gst/reply.h"

#include <stdexcept>

namespace zelrtc::gst {

Reply::Reply(GstElement* webrtcbin, const char* action, gpointer argument)
    : action_(action), promise_(gst_promise_new()) {
    g_signal_emit_by_name(webrtcbin, action, argument, promise_.get());
    gst_promise_wait(promise_.get());
}

bool Reply::accepted() const {
    const GstStructure* const reply = structure();
    return gst_promise_wait(promise_.get()) == GST_PROMISE_RESULT_REPLIED &&
           (reply == nullptr || !gst_structure_has_field(reply, "error"));
}

const GstStructure* Reply::structure() const {
    return gst_promise_get_reply(promise_.get());
}

std::string Reply::error() const {
    GError* error = nullptr;
    const GstStructure* const reply = structure();
    if (reply == nullptr || !gst_structure_get(reply, "error", G_TYPE_ERROR, &error, nullptr)) {
        return "no reply";
    }
    return takeReason(error);
}

void Reply::require() const {
    if (!accepted()) {
        throw std::runtime_error(std::string(action_) + ": " + error());
    }
}

void waitUntilIdle(GstElement* webrtcbin) {
    static_cast<void>(Reply(webrtcbin, "get-stats"));
}

}  // namespace zelrtc::gst
