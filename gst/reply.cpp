#include "gst/handles.h"

namespace zelrtc::gst {

Reply::Reply(const std::function<void(GstPromise*)>& emit) : promise_(gst_promise_new()) {
    emit(promise_.get());
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
    const GstStructure* const reply = gst_promise_get_reply(promise_.get());
    if (reply == nullptr || !gst_structure_get(reply, "error", G_TYPE_ERROR, &error, nullptr)) {
        return "no reply";
    }
    std::string text = error->message;
    g_error_free(error);
    return text;
}

}  // namespace zelrtc::gst
