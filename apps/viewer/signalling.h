/** @file signalling.h How a call's texts travel to the camera and back. */
#ifndef APPS_VIEWER_SIGNALLING_H
#define APPS_VIEWER_SIGNALLING_H

#include <cstdint>
#include <stdexcept>
#include <string>

namespace zelrtc::viewer {

struct Candidate {
    unsigned line;     // index of the m-line, from 0
    std::string mid;   // the m-line's mid
    std::string text;  // "candidate:..."
};

/** The camera could not be reached or refused the request; what() says why. */
class SignallingError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** Receives what the camera reports during a call, on the signalling's own thread. */
class SignallingListener {
public:
    virtual ~SignallingListener() = default;
    virtual void onRemoteCandidate(const Candidate& candidate) = 0;
    virtual void onCameraState(const std::string& name, double ms) = 0;
    virtual void onHeard(uint64_t frames) = 0;
    virtual void onEnded(const std::string& reason) = 0;
};

/** One call's connection to the camera. Used by one thread; every operation may throw SignallingError. */
class Signalling {
public:
    struct Answer {
        std::string callId;
        std::string sdp;
    };

    virtual ~Signalling() = default;

    /** Places the call. `complete`: the offer holds every candidate, and so must the answer. */
    virtual Answer place(const std::string& offerSdp, bool complete) = 0;
    /** Starts reporting to `listener`, which must outlive this object. */
    virtual void listen(SignallingListener& listener) = 0;
    virtual void sendCandidate(const Candidate& candidate) = 0;
    virtual void selectStream(int stream) = 0;
    /** Asks for a key frame where that is not the connection's own business. */
    virtual void askForKeyFrame() = 0;
    virtual void hangUp() = 0;
};

}  // namespace zelrtc::viewer

#endif
