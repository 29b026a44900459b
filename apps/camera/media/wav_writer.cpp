#include "media/wav_writer.h"

#include <cerrno>
#include <limits>
#include <system_error>

#include "media/mulaw.h"

namespace zelrtc::camera {

namespace {

constexpr uint32_t kHeaderBytes = 44;
constexpr uint32_t kSampleBytes = 2;

using Bytes = std::vector<uint8_t>;

// WAV is little-endian whatever the machine.
void addNumber(Bytes& bytes, uint32_t value, int count) {
    for (int i = 0; i < count; ++i) {
        bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
}

void addTag(Bytes& bytes, const char* tag) {
    bytes.insert(bytes.end(), tag, tag + 4);
}

Bytes header(uint32_t dataBytes) {
    Bytes bytes;
    addTag(bytes, "RIFF");
    addNumber(bytes, dataBytes + kHeaderBytes - 8, 4);
    addTag(bytes, "WAVE");
    addTag(bytes, "fmt ");
    addNumber(bytes, 16, 4);
    addNumber(bytes, 1, 2);  // PCM
    addNumber(bytes, 1, 2);  // mono
    addNumber(bytes, kMulawRate, 4);
    addNumber(bytes, kMulawRate * kSampleBytes, 4);
    addNumber(bytes, kSampleBytes, 2);
    addNumber(bytes, kSampleBytes * 8, 2);
    addTag(bytes, "data");
    addNumber(bytes, dataBytes, 4);
    return bytes;
}

bool write(std::FILE* file, const Bytes& bytes) {
    return std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

}  // namespace

WavWriter::WavWriter(const std::string& path) : file_(std::fopen(path.c_str(), "wbe")) {
    if (!file_ || !writeHeader()) {
        throw std::system_error(errno, std::generic_category(), path);
    }
}

bool WavWriter::append(const std::vector<int16_t>& samples) {
    constexpr uint32_t kMostBytes = std::numeric_limits<uint32_t>::max() - kHeaderBytes;
    if (samples.size() > (kMostBytes - dataBytes_) / kSampleBytes) {
        return false;
    }
    Bytes bytes;
    bytes.reserve(samples.size() * kSampleBytes);
    for (const int16_t sample : samples) {
        addNumber(bytes, static_cast<uint16_t>(sample), kSampleBytes);
    }
    if (std::fseek(file_.get(), 0, SEEK_END) != 0 || !write(file_.get(), bytes)) {
        return false;
    }
    dataBytes_ += static_cast<uint32_t>(bytes.size());
    return writeHeader();
}

bool WavWriter::writeHeader() {
    return std::fseek(file_.get(), 0, SEEK_SET) == 0 && write(file_.get(), header(dataBytes_)) &&
           std::fflush(file_.get()) == 0;
}

}  // namespace zelrtc::camera
