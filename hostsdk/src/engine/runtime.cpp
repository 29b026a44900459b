#include "engine/runtime.h"

#include <gst/gst.h>

#include <string>

#include "text/log.h"

namespace zelrtc::hostsdk {

namespace {

// The first dtlsdec of a process makes the certificate.
constexpr const char* kElements[] = {"webrtcbin", "nicesrc",    "nicesink",     "dtlsdec",    "dtlsenc",
                                     "srtpenc",   "srtpdec",    "rtpbin",       "appsrc",     "appsink",
                                     "h264parse", "rtph264pay", "rtph264depay", "rtppcmupay", "rtppcmudepay"};

bool createOnce(const char* name) {
    GstElement* const element = gst_element_factory_make(name, nullptr);
    if (element == nullptr) {
        logError(std::string("GStreamer has no element ") + name +
                 ": its plugin sets base, good, bad and nice are needed");
        return false;
    }
    gst_object_unref(gst_object_ref_sink(element));
    return true;
}

bool start() {
    GError* error = nullptr;
    if (!gst_init_check(nullptr, nullptr, &error)) {
        logError(std::string("GStreamer does not start: ") + (error == nullptr ? "" : error->message));
        g_clear_error(&error);
        return false;
    }
    bool complete = true;
    for (const char* const name : kElements) {
        complete = createOnce(name) && complete;
    }
    return complete;
}

}  // namespace

bool startRuntime() {
    static const bool kStarted = start();
    return kStarted;
}

}  // namespace zelrtc::hostsdk
