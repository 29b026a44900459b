// Ownership of GStreamer's objects.
#ifndef HOSTSDK_GST_SUPPORT_H
#define HOSTSDK_GST_SUPPORT_H

#include <gst/gst.h>
#include <gst/webrtc/webrtc.h>

#include <functional>
#include <memory>
#include <string>

namespace hostsdk {

struct GstDeleter {
    void operator()(GstElement* pElement) const {
        gst_object_unref(pElement);
    }
    void operator()(GstPad* pPad) const {
        gst_object_unref(pPad);
    }
    void operator()(GstCaps* pCaps) const {
        gst_caps_unref(pCaps);
    }
    void operator()(GstSample* pSample) const {
        gst_sample_unref(pSample);
    }
    void operator()(GstPromise* pPromise) const {
        gst_promise_unref(pPromise);
    }
    void operator()(GObject* pObject) const {
        g_object_unref(pObject);
    }
    void operator()(GstWebRTCRTPTransceiver* pTransceiver) const {
        gst_object_unref(pTransceiver);
    }
    void operator()(GstWebRTCSessionDescription* pDescription) const {
        gst_webrtc_session_description_free(pDescription);
    }
};

template <typename T>
using GstPtr = std::unique_ptr<T, GstDeleter>;

// The reply to one of webrtcbin's asynchronous actions: `emit` starts it and gets the promise to give along. Waits,
// so never on one of webrtcbin's own threads.
class Reply {
public:
    explicit Reply(const std::function<void(GstPromise*)>& emit);

    bool accepted() const;
    // Null when the reply holds nothing.
    const GstStructure* structure() const;
    // Why it was refused.
    std::string error() const;

private:
    GstPtr<GstPromise> promise_;
};

// Connects a signal to a plain function whose last argument is `*pData`, a copy of which lives as long as the
// connection; so the data outlives every call, also one that runs while the signal is disconnected.
template <typename Data>
gulong connectSignal(gpointer pObject, const char* signal, GCallback callback, const std::shared_ptr<Data>& data) {
    auto* const pCopy = new std::shared_ptr<Data>(data);
    const GClosureNotify release = [](gpointer pOwned, GClosure*) {
        delete static_cast<std::shared_ptr<Data>*>(pOwned);
    };
    return g_signal_connect_data(pObject, signal, callback, pCopy, release, static_cast<GConnectFlags>(0));
}

}  // namespace hostsdk

#endif
