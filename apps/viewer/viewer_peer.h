/** @file viewer_peer.h The offering end of one peer connection, on webrtcbin. */
#ifndef APPS_VIEWER_VIEWER_PEER_H
#define APPS_VIEWER_VIEWER_PEER_H

#include <memory>
#include <string>
#include <vector>

#include "audio_receiver.h"
#include "call_statistics.h"
#include "gst/handles.h"
#include "options.h"
#include "pass_on.h"
#include "signalling.h"
#include "tone_sender.h"
#include "video_receiver.h"

namespace zelrtc::viewer {

/** Receives a peer's events on GStreamer's threads, which must not be blocked. */
class PeerListener {
public:
    virtual ~PeerListener() = default;
    virtual void onLocalCandidate(const Candidate& candidate) = 0;
    virtual void onGathered() = 0;      // the last candidate may still follow if it came from a server
    virtual void onIceConnected() = 0;  // the DTLS handshake begins
    virtual void onState(const std::string& name) = 0;
    virtual void onKeyFrameWanted() = 0;  // by whom the packets are passed on to
};

/** Receives video and audio and sends a tone. Used by one thread, which is not one of GStreamer's. */
class ViewerPeer {
public:
    /** `listener` and `statistics` must outlive this object. @throws std::runtime_error if an element is missing */
    ViewerPeer(const Options& options, PeerListener& listener, CallStatistics& statistics);
    ~ViewerPeer();
    ViewerPeer(const ViewerPeer&) = delete;
    ViewerPeer& operator=(const ViewerPeer&) = delete;

    /** Creates the offer and starts gathering candidates. */
    std::string makeOffer();
    /** The offer with the candidates gathered so far. */
    std::string currentOffer() const;
    /** @throws std::runtime_error if the answer is not a session description */
    void takeAnswer(const std::string& sdp);
    void addRemoteCandidate(const Candidate& candidate);
    /** Starts sending the tone; before the connection nothing would take it. */
    void startTalking();
    /** The selected candidates and the packet counts. */
    CallRecord::Transport transport() const;
    void writeRecording(const std::string& path) const;

private:
    static void onJitterBuffer(GstElement* rtpbin, GstElement* jitterBuffer, guint session, guint ssrc, gpointer data);
    static void onPadAdded(GstElement* webrtc, GstPad* pad, gpointer self);
    static void onIceCandidate(GstElement* webrtc, guint line, gchar* text, gpointer self);
    static void onConnectionState(GstElement* webrtc, GParamSpec* spec, gpointer self);
    static void onIceState(GstElement* webrtc, GParamSpec* spec, gpointer self);
    static void onGatheringDone(GObject* agent, guint stream, gpointer self);

    void configureIce(const Options& options);
    void askForLostPackets();
    void connectSignals();
    void addReceiver(const char* caps, bool retransmits);
    void addTalk(CallStatistics& statistics);
    void addPassOn(const std::vector<RtpAddress>& addresses, CallStatistics& statistics);
    void receive(GstPad* pad);
    gst::GstPtr<GstPad> entrance(bool isVideo) const;

    PeerListener& listener_;
    gst::GstPtr<GstElement> pipeline_;
    GstElement* webrtc_;  // owned by the pipeline
    VideoReceiver video_;
    AudioReceiver audio_;
    std::unique_ptr<PassOn> passOn_;
    std::unique_ptr<ToneSender> talk_;
    std::vector<std::string> mids_;
};

}  // namespace zelrtc::viewer

#endif
