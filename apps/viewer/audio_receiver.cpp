#include "audio_receiver.h"

#include <fstream>
#include <stdexcept>

#include "packet_delay.h"

namespace zelrtc::viewer {
namespace {

constexpr const char* kChain =
    "rtppcmudepay name=packets ! mulawdec ! audio/x-raw,format=S16LE ! appsink name=samples sync=false async=false";
constexpr uint32_t kSamplesPerSecond = 8000;
constexpr uint32_t kBytesPerSample = 2;
constexpr double kFullScale = 32768.0;

void writeNumber(std::ostream& out, uint32_t value, unsigned bytes) {
    for (unsigned i = 0; i < bytes; ++i) {
        out.put(static_cast<char>(value >> (8 * i) & 0xFFU));
    }
}

void writeWavHeader(std::ostream& out, uint32_t dataBytes) {
    out << "RIFF";
    writeNumber(out, 36 + dataBytes, 4);
    out << "WAVEfmt ";
    writeNumber(out, 16, 4);
    writeNumber(out, 1, 2);  // linear samples
    writeNumber(out, 1, 2);  // channels
    writeNumber(out, kSamplesPerSecond, 4);
    writeNumber(out, kSamplesPerSecond * kBytesPerSample, 4);
    writeNumber(out, kBytesPerSample, 2);
    writeNumber(out, 8 * kBytesPerSample, 2);
    out << "data";
    writeNumber(out, dataBytes, 4);
}

}  // namespace

AudioReceiver::AudioReceiver(CallStatistics& statistics, bool keep)
    : statistics_(statistics), keep_(keep), bin_(gst::makeBin(kChain)) {
    const gst::GstPtr<GstPad> packets = gst::padOf(bin_, "packets", "sink");
    gst_pad_add_probe(packets.get(), GST_PAD_PROBE_TYPE_BUFFER, &AudioReceiver::onPacket, this, nullptr);
    gst::handleSamples(gst::elementOf(bin_, "samples").get(), [this](GstAppSink* sink) { takeSamples(sink); });
}

GstPadProbeReturn AudioReceiver::onPacket(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer self) {
    const auto delay = packetDelayMs(GST_PAD_PROBE_INFO_BUFFER(info));
    static_cast<AudioReceiver*>(self)->statistics_.audioPacketReceived(delay);
    return GST_PAD_PROBE_OK;
}

void AudioReceiver::takeSamples(GstAppSink* sink) {
    const gst::GstPtr<GstSample> sample(gst_app_sink_pull_sample(sink));
    GstMapInfo map;
    if (sample == nullptr || !gst_buffer_map(gst_sample_get_buffer(sample.get()), &map, GST_MAP_READ)) {
        return;
    }
    measure(reinterpret_cast<const int16_t*>(map.data), map.size / sizeof(int16_t));
    gst_buffer_unmap(gst_sample_get_buffer(sample.get()), &map);
}

void AudioReceiver::measure(const int16_t* samples, size_t count) {
    double squares = 0;
    for (size_t i = 0; i < count; ++i) {
        const double value = samples[i] / kFullScale;
        squares += value * value;
    }
    statistics_.audioDecoded(squares, count);
    if (keep_) {
        const std::lock_guard<std::mutex> lock(mutex_);
        kept_.insert(kept_.end(), samples, samples + count);
    }
}

void AudioReceiver::writeWav(const std::string& path) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::ofstream out(path, std::ios::binary);
    writeWavHeader(out, static_cast<uint32_t>(kept_.size() * kBytesPerSample));
    for (const int16_t sample : kept_) {
        writeNumber(out, static_cast<uint16_t>(sample), kBytesPerSample);
    }
    if (!out.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

}  // namespace zelrtc::viewer
