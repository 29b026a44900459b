#include "engine/dtls_close.h"

#include <future>

#include "engine/gst_support.h"

namespace zelrtc::hostsdk {

namespace {

constexpr std::chrono::milliseconds kSendingLimit{200};

constexpr int kDtlsConnected = 4;

using Signal = std::promise<void>;

bool isConnected(GstElement* encoder) {
    gint state = 0;
    g_object_get(encoder, "connection-state", &state, nullptr);
    return state == kDtlsConnected;
}

// Fulfils the promise when the pad next fires such a probe. The probe shares ownership, because it may fire after the
// time limit.
void signalOnce(GstPad* pad, GstPadProbeType occasion, const std::shared_ptr<Signal>& signal) {
    const GstPadProbeCallback onOccasion = [](GstPad*, GstPadProbeInfo*, gpointer data) {
        (*static_cast<std::shared_ptr<Signal>*>(data))->set_value();
        return GST_PAD_PROBE_REMOVE;
    };
    gst_pad_add_probe(pad, occasion, onOccasion, new std::shared_ptr<Signal>(signal),
                      [](gpointer data) { delete static_cast<std::shared_ptr<Signal>*>(data); });
}

void closeEncoder(GstElement* encoder) {
    const GstPtr<GstPad> input(gst_element_get_static_pad(encoder, "sink"));
    const GstPtr<GstPad> output(gst_element_get_static_pad(encoder, "src"));
    if (input == nullptr || output == nullptr || !isConnected(encoder)) {
        return;
    }
    const auto kStarted = std::make_shared<Signal>();
    signalOnce(output.get(), GST_PAD_PROBE_TYPE_BUFFER, kStarted);
    // The encoder closes its side when its stream of application data ends.
    gst_pad_send_event(input.get(), gst_event_new_eos());
    if (kStarted->get_future().wait_for(kSendingLimit) != std::future_status::ready) {
        return;
    }
    const auto sent = std::make_shared<Signal>();
    signalOnce(output.get(), GST_PAD_PROBE_TYPE_IDLE, sent);
    sent->get_future().wait_for(kSendingLimit);
}

}  // namespace

void sendDtlsClose(GstBin* webrtcbin) {
    GstIterator* const encoders = gst_bin_iterate_all_by_element_factory_name(webrtcbin, "dtlsenc");
    GValue item = G_VALUE_INIT;
    while (gst_iterator_next(encoders, &item) == GST_ITERATOR_OK) {
        closeEncoder(GST_ELEMENT(g_value_get_object(&item)));
        g_value_reset(&item);
    }
    g_value_unset(&item);
    gst_iterator_free(encoders);
}

}  // namespace zelrtc::hostsdk
