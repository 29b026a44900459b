/**
 * @file plain_peer.h One call on webrtcbin alone, with the settings of the SDK stand-in: what a camera costs without
 * session and SDK.
 */
#ifndef BENCH_PLAIN_SENDER_PLAIN_PEER_H
#define BENCH_PLAIN_SENDER_PLAIN_PEER_H

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "events/call_history.h"
#include "gst/handles.h"
#include "media/media_hub.h"

namespace zelrtc::bench {

/** With which key frame a viewer's picture begins. */
enum class Start {
    kKept, /**< the one that the camera keeps, where it keeps one */
    kNext, /**< the next that the source makes, as if none were kept */
};

/** Usable on any thread, but it must not be destroyed on one of GStreamer's. */
class PlainPeer : public zelrtc::camera::FrameSink {
public:
    /**
     * @param onConnected called on a GStreamer thread when media can flow
     * @param start the key frame with which the picture begins
     */
    PlainPeer(std::function<void()> onConnected, Start start);
    ~PlainPeer() override;
    PlainPeer(const PlainPeer&) = delete;
    PlainPeer& operator=(const PlainPeer&) = delete;

    /** @return the answer's SDP @throw std::runtime_error if the offer cannot be answered */
    std::string answer(const std::string& offerSdp);
    void addCandidate(unsigned line, const std::string& candidate);

    /** Candidates and states, reported as a camera does. */
    const std::shared_ptr<zelrtc::camera::CallHistory>& events() const {
        return events_;
    }

    bool onVideo(const zelrtc::camera::AccessUnit& unit) override;
    void onAudio(const zelrtc::camera::AudioFrame& frame) override;

private:
    using Clock = std::chrono::steady_clock;

    bool canBegin(const zelrtc::camera::AccessUnit& unit);
    void push(GstElement* source, const uint8_t* data, size_t size);
    void receiveAudio(GstPad* pad);

    static void onCandidate(GstElement* webrtc, guint line, gchar* text, gpointer self);
    static void onState(GstElement* webrtc, GParamSpec* spec, gpointer self);
    static void onPad(GstElement* webrtc, GstPad* pad, gpointer self);

    const std::function<void()> onConnected_;
    const Start startWith_;
    const Clock::time_point start_ = Clock::now();
    std::shared_ptr<zelrtc::camera::CallHistory> events_ = std::make_shared<zelrtc::camera::CallHistory>();
    gst::GstPtr<GstElement> pipeline_;
    GstElement* webrtc_;  // the pipeline's
    std::mutex feedMutex_;
    bool isConnected_ = false;
    bool hadKeyFrame_ = false;
    std::optional<int64_t> offeredUs_;  // of the key frame that was offered last
    gst::GstPtr<GstElement> video_;
    gst::GstPtr<GstElement> audio_;
};

}  // namespace zelrtc::bench

#endif
