/** @file wav_writer.h A WAV file (16 bit, mono, 8 kHz) that is playable at any moment, even while it grows. */
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
     * Creates a file that only its owner can read. What is there already stays as it is: "call-2.wav" becomes
     * "call-2-2.wav", "call-2-3.wav" and so on then.
     * @throw std::runtime_error when it cannot be created
     */
    explicit WavWriter(const std::string& path);

    /** The file that was created. */
    const std::string& path() const {
        return path_;
    }

    /**
     * Appends samples and updates the header, so that the file stays valid even if the process is killed. Samples that
     * would exceed the format's 4 GiB are dropped.
     * @return false if writing failed
     */
    bool append(const std::vector<int16_t>& samples);

private:
    struct Close {
        void operator()(SNDFILE* file) const {
            sf_close(file);
        }
    };
    std::string path_;
    std::unique_ptr<SNDFILE, Close> file_;
    size_t samples_ = 0;
};

}  // namespace zelrtc::camera

#endif
