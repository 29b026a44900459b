/** @file options.h What the command line asks for. */
#ifndef APPS_VIEWER_OPTIONS_H
#define APPS_VIEWER_OPTIONS_H

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "http_exchange.h"
#include "ice_server.h"
#include "rtp_address.h"

namespace zelrtc::viewer {

using Milliseconds = std::chrono::milliseconds;

struct StreamSwitch {
    Milliseconds at;  // after the connection
    int stream;
};

/** Where a call breaks off without a goodbye. */
enum class AbortPoint { kNever, kAfterOffer, kWhileGathering, kInDtlsHandshake, kAfterTime };

struct Options {
    CameraAddress camera;
    Milliseconds duration{5000};         // counted from the connection
    Milliseconds connectTimeout{15000};  // counted from the offer
    Milliseconds jitterBuffer{1000};
    bool untilInterrupted = false;
    bool json = false;
    bool trickle = true;
    bool whep = false;
    bool relayOnly = false;
    bool decode = true;
    bool talk = true;
    int calls = 1;
    std::optional<int> stream;
    std::vector<StreamSwitch> switches;
    std::vector<IceServer> iceServers;
    std::vector<std::string> localAddresses;
    std::string recordPath;
    std::string timelinePath;
    std::vector<RtpAddress> passOn;  // for video and, if there are two, for audio
    AbortPoint abortPoint = AbortPoint::kNever;
    Milliseconds abortAfter{0};
};

/** Thrown if the program must not start. The message is already printed; `status` is the exit status. */
struct StartRefused {
    int status;
};

/**
 * Reads the command line.
 * @throws StartRefused after --help, and for bad usage, which is reported on standard error
 */
Options parseOptions(int argc, const char* const* argv);

}  // namespace zelrtc::viewer

#endif
