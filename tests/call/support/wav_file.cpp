#include "wav_file.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "scratch_folder.h"

namespace zelrtc::test {
namespace {

constexpr std::size_t kHeaderBytes = 44;

std::uint32_t numberAt(const std::string& bytes, std::size_t at, std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t i = size; i > 0; --i) {
        value = value << 8U | static_cast<unsigned char>(bytes[at + i - 1]);
    }
    return value;
}

double energy(const std::int16_t* samples, std::size_t count) {
    double sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += static_cast<double>(samples[i]) * samples[i];
    }
    return sum;
}

// Goertzel's algorithm: the energy at one frequency.
double energyAt(const std::int16_t* samples, std::size_t count, double cyclesPerSample) {
    const double coefficient = 2 * std::cos(2 * M_PI * cyclesPerSample);
    double last = 0;
    double beforeLast = 0;
    for (std::size_t i = 0; i < count; ++i) {
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
    constexpr std::size_t kBlock = 400;
    double wanted = 0;
    double all = 0;
    for (std::size_t at = 0; at + kBlock <= samples.size(); at += kBlock) {
        wanted += energyAt(samples.data() + at, kBlock, hertz / samplesPerSecond);
        all += energy(samples.data() + at, kBlock);
    }
    return all > 0 ? wanted / all : 0;
}

WavFile readWav(const std::string& path) {
    const std::string bytes = readFile(path);
    if (bytes.size() < kHeaderBytes || bytes.compare(0, 4, "RIFF") != 0 || bytes.compare(8, 8, "WAVEfmt ") != 0 ||
        numberAt(bytes, 20, 2) != 1 || numberAt(bytes, 22, 2) != 1 || numberAt(bytes, 34, 2) != 16 ||
        bytes.compare(36, 4, "data") != 0) {
        throw std::runtime_error(path + " is not a 16 bit mono WAV file");
    }
    WavFile wav;
    wav.samplesPerSecond = numberAt(bytes, 24, 4);
    wav.samples.resize(std::min<std::size_t>(numberAt(bytes, 40, 4), bytes.size() - kHeaderBytes) / 2);
    std::memcpy(wav.samples.data(), bytes.data() + kHeaderBytes, wav.samples.size() * 2);
    return wav;
}

}  // namespace zelrtc::test
