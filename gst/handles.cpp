#include "gst/handles.h"

namespace zelrtc::gst {

std::string takeText(gchar* text) {
    std::string copy = text == nullptr ? "" : text;
    g_free(text);
    return copy;
}

std::string takeReason(GError* error) {
    std::string reason = error->message;
    g_error_free(error);
    return reason;
}

}  // namespace zelrtc::gst
