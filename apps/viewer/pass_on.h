/** @file pass_on.h Sends the call's packets on as plain RTP, for a media server with viewers of its own. */
#ifndef APPS_VIEWER_PASS_ON_H
#define APPS_VIEWER_PASS_ON_H

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "call_statistics.h"
#include "gst/elements.h"
#include "rtp_address.h"

namespace zelrtc::viewer {

/**
 * The packets go on unchanged, as the jitter buffer releases them, with sender reports beside them. Where the receiver
 * asks for a key frame by RTCP, so does this, upstream, half a second apart at least: what is asked sooner waits.
 */
class PassOn {
public:
    /**
     * The first address is for video, the second, if there is one, for audio. `statistics` must outlive this object;
     * `askCamera` runs on a streaming thread with each request for a key frame.
     * @throws std::runtime_error if an element is missing or no socket can be had
     */
    PassOn(const std::vector<RtpAddress>& addresses, CallStatistics& statistics, std::function<void()> askCamera);

    /**
     * The bin. What comes in at its pads "video_sink" and "audio_sink" also leaves it, at "video_src" and "audio_src";
     * without an address for audio there are none of its. The pipeline it is added to owns it.
     */
    GstElement* bin() const {
        return bin_;
    }

    bool takesAudio() const {
        return takesAudio_;
    }

private:
    using Clock = std::chrono::steady_clock;

    static GstPadProbeReturn onVideoPacket(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn onAudioPacket(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn onRequest(GstPad* pad, GstPadProbeInfo* info, gpointer self);

    void makeEntrance(const std::string& medium);
    void shareSocket(const std::string& medium, bool isIpv6);
    void reportOften(guint session);
    void askIfWanted(GstPad* pad);

    CallStatistics& statistics_;
    const std::function<void()> askCamera_;
    const bool takesAudio_;
    GstElement* bin_;
    std::atomic<bool> isKeyFrameWanted_{false};
    Clock::time_point nextRequest_;  // only used on the video's streaming thread
};

}  // namespace zelrtc::viewer

#endif
