// Owners of GStreamer's objects, replies and signals.
#ifndef HOSTSDK_SRC_ENGINE_GST_SUPPORT_H
#define HOSTSDK_SRC_ENGINE_GST_SUPPORT_H

#include <gst/gst.h>
#include <gst/webrtc/webrtc.h>

#include <functional>
#include <memory>
#include <string>

namespace zelrtc::hostsdk {

struct GstDeleter {
    void operator()(GstElement* element) const {
        gst_object_unref(element);
    }
    void operator()(GstPad* pad) const {
        gst_object_unref(pad);
    }
    void operator()(GstCaps* caps) const {
        gst_caps_unref(caps);
    }
    void operator()(GstSample* sample) const {
        gst_sample_unref(sample);
    }
    void operator()(GstPromise* promise) const {
        gst_promise_unref(promise);
    }
    void operator()(GObject* object) const {
        g_object_unref(object);
    }
    void operator()(GstWebRTCRTPTransceiver* transceiver) const {
        gst_object_unref(transceiver);
    }
    void operator()(GstWebRTCSessionDescription* description) const {
        gst_webrtc_session_description_free(description);
    }
};

template <typename T>
using GstPtr = std::unique_ptr<T, GstDeleter>;

// Waits for the reply to one of webrtcbin's asynchronous actions, which `emit` starts with the promise it is given.
// Never on one of webrtcbin's own threads: they make the reply.
class Reply {
public:
    explicit Reply(const std::function<void(GstPromise*)>& emit);

    bool accepted() const;
    // Null if the reply is empty.
    const GstStructure* structure() const;
    // Why the action was refused.
    std::string error() const;

private:
    GstPtr<GstPromise> promise_;
};

// Connects a signal to a plain function whose last argument points to a copy of `data`. The copy lives as long as the
// signal's connection and so outlives every call, even one that is running while the signal is disconnected.
template <typename Data>
gulong connectSignal(gpointer object, const char* signal, GCallback callback, const std::shared_ptr<Data>& data) {
    auto* const copy = new std::shared_ptr<Data>(data);
    const GClosureNotify release = [](gpointer owned, GClosure*) { delete static_cast<std::shared_ptr<Data>*>(owned); };
    return g_signal_connect_data(object, signal, callback, copy, release, static_cast<GConnectFlags>(0));
}

}  // namespace zelrtc::hostsdk

#endif
