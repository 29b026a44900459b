/** @file call_error.h Why a call cannot be placed, steered or found. */
#ifndef APPS_CAMERA_CALL_CALL_ERROR_H
#define APPS_CAMERA_CALL_CALL_ERROR_H

#include <stdexcept>
#include <string>

namespace zelrtc::camera {

/** Thrown by calls and their registry; knows nothing of how a viewer is told. */
class CallError : public std::runtime_error {
public:
    enum class Kind {
        kNoSuchCall,       /**< never placed, or over */
        kTooManyOfOne,     /**< this client has too many calls that do not connect */
        kUnavailable,      /**< the camera takes no call now, or has given up one that was being placed */
        kNoAnswer,         /**< the session had none in time */
        kOfferRefused,     /**< by the session; see sdkStatus */
        kCandidateRefused, /**< by the session; see sdkStatus */
    };

    /**
     * @param text      what happened, as a sentence without a full stop
     * @param sdkStatus what the session's operation returned, if it was one
     */
    CallError(Kind kind, const std::string& text, int sdkStatus = 0)
        : std::runtime_error(text), kind_(kind), sdkStatus_(sdkStatus) {
    }

    Kind kind() const {
        return kind_;
    }
    int sdkStatus() const {
        return sdkStatus_;
    }

private:
    Kind kind_;
    int sdkStatus_;
};

}  // namespace zelrtc::camera

#endif
