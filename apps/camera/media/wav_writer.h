/** @file wav_writer.h A WAV file (16 bit, mono, 8 kHz) that can be played at any moment, also while it grows. */
#ifndef APPS_CAMERA_MEDIA_WAV_WRITER_H
#define APPS_CAMERA_MEDIA_WAV_WRITER_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace zelrtc::camera {

/** One recording. One thread at a time. */
class WavWriter {
public:
    /**
     * Creates the file, replacing one of that name.
     * @throw std::system_error when it cannot be created
     */
    explicit WavWriter(const std::string& path);

    /**
     * Adds samples and brings the header up to date, so that what has been written is valid even if the process is
     * killed. A file that would outgrow the format's 4 GiB takes no more.
     * @return false when the file could not be written
     */
    bool append(const std::vector<int16_t>& samples);

private:
    bool writeHeader();

    struct Close {
        void operator()(std::FILE* file) const {
            std::fclose(file);
        }
    };
    std::unique_ptr<std::FILE, Close> file_;
    uint32_t dataBytes_ = 0;
};

}  // namespace zelrtc::camera

#endif
