/** @file wav_writer.h A WAV file (16 bit, mono, 8 kHz) that is playable at any moment, even while it grows. */
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
     * Creates the file, replacing any of that name.
     * @throw std::system_error if it cannot be created
     */
    explicit WavWriter(const std::string& path);

    /**
     * Appends samples and updates the header, so that the file stays valid even if the process is killed. Samples that
     * would exceed the format's 4 GiB are dropped.
     * @return false if writing failed
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
