/** @file wav_file.h What a recording holds. */
#ifndef TESTS_CALL_SUPPORT_WAV_FILE_H
#define TESTS_CALL_SUPPORT_WAV_FILE_H

#include <cstdint>
#include <string>
#include <vector>

namespace zelrtc::test {

/** 16 bit, mono. */
struct WavFile {
    unsigned samplesPerSecond = 0;
    std::vector<int16_t> samples;

    double seconds() const;
    /** Root mean square, full scale is 1. */
    double level() const;
    /** The share of the sound's energy at this frequency, 0 to 1. */
    double shareAt(double hertz) const;
};

/** @throws std::runtime_error if the file is not a 16 bit mono WAV file */
WavFile readWav(const std::string& path);

}  // namespace zelrtc::test

#endif
