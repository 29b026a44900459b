#include "wav_file.h"

#include <sndfile.h>

#include <cmath>
#include <memory>
#include <stdexcept>

namespace zelrtc::test {
namespace {

double energy(const int16_t* samples, size_t count) {
    double sum = 0;
    for (size_t i = 0; i < count; ++i) {
        sum += static_cast<double>(samples[i]) * samples[i];
    }
    return sum;
}

// Goertzel's algorithm: the energy at one frequency.
double energyAt(const int16_t* samples, size_t count, double cyclesPerSample) {
    const double coefficient = 2 * std::cos(2 * M_PI * cyclesPerSample);
    double last = 0;
    double beforeLast = 0;
    for (size_t i = 0; i < count; ++i) {
        const double current = samples[i] + coefficient * last - beforeLast;
        beforeLast = last;
        last = current;
    }
    const double power = last * last + beforeLast * beforeLast - coefficient * last * beforeLast;
    return 2 * power / static_cast<double>(count);
}

}  // namespace

double WavFile::seconds() const {
    return static_cast<double>(samples.size()) / samplesPerSecond;
}

double WavFile::level() const {
    return std::sqrt(energy(samples.data(), samples.size()) / static_cast<double>(samples.size())) / 32768;
}

double WavFile::shareAt(double hertz) const {
    // Short blocks, so that a lost packet shifts the phase of only one.
    constexpr size_t kBlock = 400;
    double wanted = 0;
    double all = 0;
    for (size_t at = 0; at + kBlock <= samples.size(); at += kBlock) {
        wanted += energyAt(samples.data() + at, kBlock, hertz / samplesPerSecond);
        all += energy(samples.data() + at, kBlock);
    }
    return all > 0 ? wanted / all : 0;
}

WavFile readWav(const std::string& path) {
    SF_INFO info{};
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> file(sf_open(path.c_str(), SFM_READ, &info), sf_close);
    if (!file || info.format != (SF_FORMAT_WAV | SF_FORMAT_PCM_16) || info.channels != 1) {
        throw std::runtime_error(path + " is not a 16 bit mono WAV file");
    }
    WavFile wav;
    wav.samplesPerSecond = static_cast<unsigned>(info.samplerate);
    wav.samples.resize(static_cast<size_t>(info.frames));
    wav.samples.resize(static_cast<size_t>(sf_read_short(file.get(), wav.samples.data(), info.frames)));
    return wav;
}

}  // namespace zelrtc::test
