/** @file handles.h Ownership of GStreamer objects. */
#ifndef GST_HANDLES_H
#define GST_HANDLES_H

#include <gst/gst.h>
#include <gst/webrtc/webrtc.h>

#include <memory>
#include <string>

namespace zelrtc::gst {

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
    void operator()(GstBuffer* buffer) const {
        gst_buffer_unref(buffer);
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

// The value of an object or boxed property; null if it is unset.
template <typename T>
GstPtr<T> ownedProperty(gpointer object, const char* name) {
    T* value = nullptr;
    g_object_get(object, name, &value, nullptr);
    return GstPtr<T>(value);
}

// The value of a number or enumeration property.
template <typename T>
T plainProperty(gpointer object, const char* name) {
    T value{};
    g_object_get(object, name, &value, nullptr);
    return value;
}

// Takes ownership of the text; empty for null.
std::string takeText(gchar* text);

// The error's message. Takes ownership of the error.
std::string takeReason(GError* error);

// Connects a signal to a plain function whose last argument points to a copy of `data`. The copy lives as long as the
// signal's connection and so outlives every call, even one that is running while the signal is disconnected.
template <typename Data>
gulong connectSignal(gpointer object, const char* signal, GCallback callback, const std::shared_ptr<Data>& data) {
    auto* const copy = new std::shared_ptr<Data>(data);
    const GClosureNotify release = [](gpointer owned, GClosure*) { delete static_cast<std::shared_ptr<Data>*>(owned); };
    return g_signal_connect_data(object, signal, callback, copy, release, static_cast<GConnectFlags>(0));
}

// The same for a pad's probe, whose data is a `std::shared_ptr<Data>*`.
template <typename Data>
void addProbe(GstPad* pad, GstPadProbeType occasion, GstPadProbeCallback callback, const std::shared_ptr<Data>& data) {
    gst_pad_add_probe(pad, occasion, callback, new std::shared_ptr<Data>(data),
                      [](gpointer owned) { delete static_cast<std::shared_ptr<Data>*>(owned); });
}

}  // namespace zelrtc::gst

#endif
