/** @file wav_writer.h A WAV file (16 bit, mono, 8 kHz) that can be played at any moment, also while it grows. */
#ifndef APPS_CAMERA_MEDIA_WAV_WRITER_H
#define APPS_CAMERA_MEDIA_WAV_WRITER_H

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zelrtc::camera {

/** One recording. One thread at a time. */
class WavWriter {
public:
    /**
     * Creates the file, replacing one of that name.
     * @throw std::runtime_error when it cannot be created
     */
    explicit WavWriter(const std::string& path);

    /**
     * Adds samples and brings the header up to date, so that what has been written is valid even if the process is
     * killed. A file that would outgrow the format's 4 GiB takes no more.
     * @return false when the file could not be written
     */
    bool append(const std::vector<int16_t>& samples);

private:
    struct Close {
        void operator()(SNDFILE* file) const {
            sf_close(file);
        }
    };
    std::unique_ptr<SNDFILE, Close> file_;
    size_t samples_ = 0;
};

}  // namespace zelrtc::camera

#endif
