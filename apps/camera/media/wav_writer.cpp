#include "media/wav_writer.h"

#include <limits>
#include <stdexcept>

#include "media/mulaw.h"

namespace zelrtc::camera {

namespace {

// The header counts bytes with 32 bits, and holds some itself.
constexpr size_t kMostSamples = (std::numeric_limits<uint32_t>::max() - 1024) / sizeof(int16_t);

SNDFILE* create(const std::string& path) {
    SF_INFO info{};
    info.samplerate = kMulawRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    return sf_open(path.c_str(), SFM_WRITE, &info);
}

}  // namespace

WavWriter::WavWriter(const std::string& path) : file_(create(path)) {
    if (!file_) {
        throw std::runtime_error(path + ": " + sf_strerror(nullptr));
    }
    sf_command(file_.get(), SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
    sf_command(file_.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
}

bool WavWriter::append(const std::vector<int16_t>& samples) {
    if (samples.size() > kMostSamples - samples_) {
        return false;
    }
    samples_ += samples.size();
    const auto count = static_cast<sf_count_t>(samples.size());
    return sf_write_short(file_.get(), samples.data(), count) == count;
}

}  // namespace zelrtc::camera
