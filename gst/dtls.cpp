#include "gst/dtls.h"

#include <future>

#include "gst/handles.h"

namespace zelrtc::gst {

namespace {

constexpr std::chrono::milliseconds kSendingLimit{200};

constexpr int kDtlsConnected = 4;

using Signal = std::promise<void>;

bool isConnected(GstElement* encoder) {
    gint state = 0;
    g_object_get(encoder, "connection-state", &state, nullptr);
    return state == kDtlsConnected;
}

// Fulfils the promise at the pad's next occasion of that kind. The probe owns its share of the promise, since the
// occasion may come after the limit.
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
    const auto started = std::make_shared<Signal>();
    signalOnce(output.get(), GST_PAD_PROBE_TYPE_BUFFER, started);
    // The end of the stream of application data is what makes the encoder close its side.
    gst_pad_send_event(input.get(), gst_event_new_eos());
    if (started->get_future().wait_for(kSendingLimit) != std::future_status::ready) {
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

}  // namespace zelrtc::gst
