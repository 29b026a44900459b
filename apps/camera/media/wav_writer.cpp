#include "media/wav_writer.h"

#include <cerrno>
#include <limits>
#include <system_error>

#include "media/mulaw.h"

namespace zelrtc::camera {

namespace {

constexpr uint32_t HEADER_BYTES = 44;
constexpr uint32_t SAMPLE_BYTES = 2;

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
    addNumber(bytes, dataBytes + HEADER_BYTES - 8, 4);
    addTag(bytes, "WAVE");
    addTag(bytes, "fmt ");
    addNumber(bytes, 16, 4);
    addNumber(bytes, 1, 2);  // PCM
    addNumber(bytes, 1, 2);  // mono
    addNumber(bytes, MULAW_RATE, 4);
    addNumber(bytes, MULAW_RATE * SAMPLE_BYTES, 4);
    addNumber(bytes, SAMPLE_BYTES, 2);
    addNumber(bytes, SAMPLE_BYTES * 8, 2);
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
    constexpr uint32_t mostBytes = std::numeric_limits<uint32_t>::max() - HEADER_BYTES;
    if (samples.size() > (mostBytes - dataBytes_) / SAMPLE_BYTES) {
        return false;
    }
    Bytes bytes;
    bytes.reserve(samples.size() * SAMPLE_BYTES);
    for (const int16_t sample : samples) {
        addNumber(bytes, static_cast<uint16_t>(sample), SAMPLE_BYTES);
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
