#include "engine/gst_support.h"

namespace hostsdk {

Reply::Reply(const std::function<void(GstPromise*)>& emit) : promise_(gst_promise_new()) {
    emit(promise_.get());
    gst_promise_wait(promise_.get());
}

bool Reply::accepted() const {
    const GstStructure* const pReply = structure();
    return gst_promise_wait(promise_.get()) == GST_PROMISE_RESULT_REPLIED &&
           (pReply == nullptr || !gst_structure_has_field(pReply, "error"));
}

const GstStructure* Reply::structure() const {
    return gst_promise_get_reply(promise_.get());
}

std::string Reply::error() const {
    GError* pError = nullptr;
    const GstStructure* const pReply = gst_promise_get_reply(promise_.get());
    if (pReply == nullptr || !gst_structure_get(pReply, "error", G_TYPE_ERROR, &pError, nullptr)) {
        return "no reply";
    }
    std::string text = pError->message;
    g_error_free(pError);
    return text;
}

}  // namespace hostsdk
