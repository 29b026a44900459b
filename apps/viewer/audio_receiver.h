/** @file audio_receiver.h Counts, measures and on request keeps the camera's audio. */
#ifndef APPS_VIEWER_AUDIO_RECEIVER_H
#define APPS_VIEWER_AUDIO_RECEIVER_H

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "call_statistics.h"
#include "gst/elements.h"

namespace zelrtc::viewer {

class AudioReceiver {
public:
    /** `statistics` must outlive this object; `keep`: keep every sample. @throws std::runtime_error, element missing */
    AudioReceiver(CallStatistics& statistics, bool keep);

    /** The bin that takes RTP packets at its pad "sink". The pipeline it is added to owns it. */
    GstElement* bin() const {
        return bin_;
    }

    /** Writes the kept samples: 8 kHz, 16 bit, mono. @throws std::runtime_error if the file cannot be written */
    void writeWav(const std::string& path) const;

private:
    static GstPadProbeReturn onPacket(GstPad* pad, GstPadProbeInfo* info, gpointer self);

    void takeSamples(GstAppSink* sink);
    void measure(const int16_t* samples, size_t count);

    CallStatistics& statistics_;
    const bool keep_;
    GstElement* bin_;
    mutable std::mutex mutex_;
    std::vector<int16_t> kept_;
};

}  // namespace zelrtc::viewer

#endif
