/** @file signalling.h How a call's texts travel to the camera and back. */
#ifndef APPS_VIEWER_SIGNALLING_H
#define APPS_VIEWER_SIGNALLING_H

#include <cstdint>
#include <stdexcept>
#include <string>

namespace zelrtc::viewer {

struct Candidate {
    unsigned line;     // of the session description, from 0
    std::string mid;   // that line's name
    std::string text;  // "candidate:..."
};

/** The camera was not reached or refused; what() says why in words. */
class SignallingError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** What the camera tells during a call; called on the signalling's own thread. */
class SignallingListener {
public:
    virtual ~SignallingListener() = default;
    virtual void onRemoteCandidate(const Candidate& candidate) = 0;
    virtual void onCameraState(const std::string& name, double ms) = 0;
    virtual void onHeard(uint64_t frames) = 0;
    virtual void onEnded(const std::string& reason) = 0;
};

/** One call's way to the camera. One thread uses it; every operation may throw SignallingError. */
class Signalling {
public:
    struct Answer {
        std::string callId;
        std::string sdp;
    };

    virtual ~Signalling() = default;

    /** Places the call. With `complete` the offer holds every candidate and the answer shall do so as well. */
    virtual Answer place(const std::string& offerSdp, bool complete) = 0;
    /** Starts to report what the camera tells, until this object goes; `listener` outlives it. */
    virtual void listen(SignallingListener& listener) = 0;
    virtual void sendCandidate(const Candidate& candidate) = 0;
    virtual void selectStream(int stream) = 0;
    virtual void hangUp() = 0;
};

}  // namespace zelrtc::viewer

#endif
