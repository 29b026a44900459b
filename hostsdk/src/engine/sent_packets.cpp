#include "engine/sent_packets.h"

#include <array>
#include <string>

#include "engine/rtp_header.h"

namespace zelrtc::hostsdk {

namespace {

constexpr unsigned kNumbersInMask = 16;
// Packets that are sent again lie behind the newest one, and must still be known to have been sent.
constexpr guint kReplayWindow = 2 * SentPackets::kMostKept;

uint16_t readHalf(const uint8_t* at) {
    return static_cast<uint16_t>(at[0] << 8U | at[1]);
}

bool isMediaInput(GstPad* pad) {
    return gst::takeText(gst_pad_get_name(pad)).compare(0, 9, "rtp_sink_") == 0;
}

}  // namespace

std::vector<uint16_t> requestedNumbers(const uint8_t* list, size_t size) {
    std::vector<uint16_t> numbers;
    for (size_t at = 0; at + 4 <= size; at += 4) {
        const uint16_t first = readHalf(list + at);
        const uint16_t following = readHalf(list + at + 2);
        numbers.push_back(first);
        for (unsigned bit = 0; bit < kNumbersInMask; bit++) {
            if ((following >> bit & 1U) != 0) {
                numbers.push_back(static_cast<uint16_t>(first + bit + 1));
            }
        }
    }
    return numbers;
}

std::shared_ptr<SentPackets> SentPackets::watch(GstElement* srtpenc) {
    // Without both, the encryption would take a packet that goes out again for an error.
    g_object_set(srtpenc, "allow-repeat-tx", TRUE, "replay-window-size", kReplayWindow, nullptr);
    auto packets = std::make_shared<SentPackets>();
    gst::connectSignal(srtpenc, "pad-added", G_CALLBACK(onPadAdded), packets);
    for (GList* pad = srtpenc->sinkpads; pad != nullptr; pad = pad->next) {
        onPadAdded(srtpenc, GST_PAD(pad->data), &packets);
    }
    return packets;
}

SentPackets::SentPackets() {
    g_weak_ref_init(&input_, nullptr);
}

SentPackets::~SentPackets() {
    g_weak_ref_clear(&input_);
}

void SentPackets::onPadAdded(GstElement*, GstPad* pad, Shared* packets) {
    if (isMediaInput(pad)) {
        g_weak_ref_set(&(*packets)->input_, pad);
        const auto each = static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST);
        gst::addProbe(pad, each, onPackets, *packets);
    }
}

GstPadProbeReturn SentPackets::onPackets(GstPad*, GstPadProbeInfo* info, gpointer data) {
    SentPackets* const packets = static_cast<Shared*>(data)->get();
    if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0) {
        packets->keep(GST_PAD_PROBE_INFO_BUFFER(info));
    } else {
        gst_buffer_list_foreach(GST_PAD_PROBE_INFO_BUFFER_LIST(info), keepEach, packets);
    }
    return GST_PAD_PROBE_OK;
}

gboolean SentPackets::keepEach(GstBuffer** packet, guint, gpointer packets) {
    static_cast<SentPackets*>(packets)->keep(*packet);
    return TRUE;
}

void SentPackets::keep(GstBuffer* packet) {
    std::array<uint8_t, kRtpHeaderBytes> header{};
    if (gst_buffer_extract(packet, 0, header.data(), header.size()) < header.size()) {
        return;
    }
    const uint16_t number = readHalf(&header[2]);
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<Kept>& ofSource = kept_[readWord(&header[8])];
    ofSource.resize(kMostKept);
    Kept& place = ofSource[number % kMostKept];
    if (place.packet != nullptr && place.number == number) {
        return;  // on its way again
    }
    place.number = number;
    place.packet.reset(gst_buffer_ref(packet));
    limit_.onSent(gst_buffer_get_size(packet), ResendLimit::Clock::now());
}

void SentPackets::resend(uint32_t source, const std::vector<uint16_t>& numbers) {
    const gst::GstPtr<GstPad> input(static_cast<GstPad*>(g_weak_ref_get(&input_)));
    for (const uint16_t number : numbers) {
        gst::GstPtr<GstBuffer> packet = find(source, number);
        if (input != nullptr && packet != nullptr) {
            gst_pad_chain(input.get(), packet.release());
        }
    }
}

gst::GstPtr<GstBuffer> SentPackets::find(uint32_t source, uint16_t number) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = kept_.find(source);
    if (found == kept_.end()) {
        return nullptr;
    }
    const Kept& place = found->second[number % kMostKept];
    const bool isKept = place.packet != nullptr && place.number == number;
    if (!isKept || !limit_.takes(gst_buffer_get_size(place.packet.get()), ResendLimit::Clock::now())) {
        return nullptr;
    }
    return gst::GstPtr<GstBuffer>(gst_buffer_ref(place.packet.get()));
}

}  // namespace zelrtc::hostsdk
