#include "tone_sender.h"

namespace zelrtc::viewer {
namespace {

constexpr const char* kChain =
    "audiotestsrc is-live=true wave=sine freq=700 volume=0.5 samplesperbuffer=160 ! audio/x-raw,rate=8000,channels=1 ! "
    "mulawenc ! rtppcmupay pt=0 min-ptime=20000000 max-ptime=20000000 ! "
    "valve name=gate drop=true drop-mode=forward-sticky-events";

}  // namespace

ToneSender::ToneSender(CallStatistics& statistics) : statistics_(statistics), bin_(gst::makeBin(kChain)) {
    const gst::GstPtr<GstPad> out(gst_element_get_static_pad(bin_, "src"));
    gst_pad_add_probe(out.get(), GST_PAD_PROBE_TYPE_BUFFER, &ToneSender::onPacket, this, nullptr);
}

void ToneSender::start() {
    g_object_set(gst::elementOf(bin_, "gate").get(), "drop", FALSE, nullptr);
}

GstPadProbeReturn ToneSender::onPacket(GstPad* /*pad*/, GstPadProbeInfo* /*info*/, gpointer self) {
    static_cast<ToneSender*>(self)->statistics_.audioPacketSent();
    return GST_PAD_PROBE_OK;
}

}  // namespace zelrtc::viewer
