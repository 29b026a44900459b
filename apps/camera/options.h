/** @file options.h The command line. */
#ifndef APPS_CAMERA_OPTIONS_H
#define APPS_CAMERA_OPTIONS_H

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "call/call_registry.h"
#include "media/media_hub.h"

namespace zelrtc::camera {

struct Options {
    std::string host = "127.0.0.1";
    int port = 8080;
    std::array<VideoInput, kVideoStreams> video;
    std::string audioFile; /**< empty: the tone pattern */
    CallSettings calls;
    std::string tokenFile;    /**< empty for a token that is made at the start */
    std::string tlsChainFile; /**< PEM; empty with an empty key for plain HTTP */
    std::string tlsKeyFile;
    bool tlsSelfSigned = false;              /**< with a certificate that is made at the start */
    bool noToken = false;                    /**< let everybody in who reaches the port */
    std::vector<std::string> allowedOrigins; /**< sites whose pages may use WHEP, as in "https://example.com" */
    int logLevel = 3;
    std::string logFile; /**< empty: standard error */
};

/**
 * Reads the command line. Mistakes are reported on standard error, help on standard output.
 * @param exitStatus set when nothing is returned: 0 after help or version, 2 after a mistake
 * @return nothing if the program should exit at once
 */
std::optional<Options> readOptions(int argc, char** argv, int& exitStatus);

}  // namespace zelrtc::camera

#endif
