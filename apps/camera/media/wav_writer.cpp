#include "media/wav_writer.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <system_error>

#include "media/mulaw.h"

namespace zelrtc::camera {

namespace {

// The header counts bytes with 32 bits, and holds some itself.
constexpr size_t kMostSamples = (std::numeric_limits<uint32_t>::max() - 1024) / sizeof(int16_t);

constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
constexpr int kMostNames = 10000;

std::string numbered(const std::filesystem::path& path, int number) {
    if (number == 1) {
        return path;
    }
    const std::string name = path.stem().string() + "-" + std::to_string(number) + path.extension().string();
    return path.parent_path() / name;
}

// Leaves the name in `path` that was free.
int createNew(std::string& path) {
    const std::string wanted = path;
    int file = -1;
    for (int number = 1; file < 0 && number <= kMostNames; ++number) {
        path = numbered(wanted, number);
        file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerOnly);
        if (file < 0 && errno != EEXIST) {
            break;
        }
    }
    if (file < 0) {
        throw std::runtime_error(wanted + ": " + std::generic_category().message(errno));
    }
    return file;
}

SNDFILE* create(std::string& path) {
    SF_INFO info{};
    info.samplerate = kMulawRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    return sf_open_fd(createNew(path), SFM_WRITE, &info, SF_TRUE);
}

}  // namespace

WavWriter::WavWriter(const std::string& path) : path_(path), file_(create(path_)) {
    if (!file_) {
        throw std::runtime_error(path_ + ": " + sf_strerror(nullptr));
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
