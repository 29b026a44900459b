#include "gst/dtls.h"

#include <future>

#include "gst/handles.h"

namespace zelrtc::gst {

namespace {

constexpr std::chrono::milliseconds kSendingLimit{200};

using Signal = std::promise<void>;

// Fulfils the promise at the pad's next occasion of that kind. The probe owns its share of the promise, since the
// occasion may come after the limit.
void signalOnce(GstPad* pad, GstPadProbeType occasion, const std::shared_ptr<Signal>& signal) {
    const auto onOccasion = [](GstPad*, GstPadProbeInfo*, gpointer data) {
        (*static_cast<std::shared_ptr<Signal>*>(data))->set_value();
        return GST_PAD_PROBE_REMOVE;
    };
    addProbe(pad, occasion, onOccasion, signal);
}

void closeEncoder(GstElement* encoder) {
    const GstPtr<GstPad> input(gst_element_get_static_pad(encoder, "sink"));
    const GstPtr<GstPad> output(gst_element_get_static_pad(encoder, "src"));
    if (input == nullptr || output == nullptr || dtlsState(encoder) != DtlsState::kConnected) {
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

DtlsState dtlsState(GstElement* element) {
    return static_cast<DtlsState>(plainProperty<gint>(element, "connection-state"));
}

void sendDtlsClose(GstElement* webrtcbin) {
    GstIterator* const encoders = gst_bin_iterate_all_by_element_factory_name(GST_BIN(webrtcbin), "dtlsenc");
    GValue item = G_VALUE_INIT;
    while (gst_iterator_next(encoders, &item) == GST_ITERATOR_OK) {
        closeEncoder(GST_ELEMENT(g_value_get_object(&item)));
        g_value_reset(&item);
    }
    g_value_unset(&item);
    gst_iterator_free(encoders);
}

}  // namespace zelrtc::gst
