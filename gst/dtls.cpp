#include "gst/dtls.h"

#include <future>

#include "gst/elements.h"

namespace zelrtc::gst {

namespace {

constexpr std::chrono::milliseconds kSendingLimit{200};

using Signal = std::promise<void>;

// Fulfils the promise at the pad's next probe of this type. The probe shares ownership, because it may fire after the
// time limit.
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
    // At the end of its stream of application data the encoder closes its side.
    gst_pad_send_event(input.get(), gst_event_new_eos());
    if (started->get_future().wait_for(kSendingLimit) != std::future_status::ready) {
        return;
    }
    const auto sent = std::make_shared<Signal>();
    signalOnce(output.get(), GST_PAD_PROBE_TYPE_IDLE, sent);
    sent->get_future().wait_for(kSendingLimit);
}

gboolean dropBuffers(GstElement*, GstPad* pad, gpointer) {
    if (GST_PAD_IS_SRC(pad)) {
        const auto drop = [](GstPad*, GstPadProbeInfo*, gpointer) { return GST_PAD_PROBE_DROP; };
        const auto data = static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST);
        gst_pad_add_probe(pad, data, drop, nullptr, nullptr);
    }
    return TRUE;
}

void onPadAdded(GstElement* decoder, GstPad* pad, gpointer) {
    dropBuffers(decoder, pad, nullptr);
}

// The decoder's pad for data exists when the decoder is added, or is added later.
void onElementAdded(GstBin*, GstBin*, GstElement* element, gpointer) {
    if (isMadeBy(element, "dtlsdec")) {
        g_signal_connect(element, "pad-added", G_CALLBACK(onPadAdded), nullptr);
        gst_element_foreach_src_pad(element, dropBuffers, nullptr);
    }
}

}  // namespace

DtlsState dtlsState(GstElement* element) {
    return static_cast<DtlsState>(plainProperty<gint>(element, "connection-state"));
}

void dropData(GstElement* webrtcbin) {
    g_signal_connect(webrtcbin, "deep-element-added", G_CALLBACK(onElementAdded), nullptr);
}

void sendDtlsClose(GstElement* webrtcbin) {
    for (const GstPtr<GstElement>& encoder : elementsMadeBy(webrtcbin, "dtlsenc")) {
        closeEncoder(encoder.get());
    }
}

}  // namespace zelrtc::gst
