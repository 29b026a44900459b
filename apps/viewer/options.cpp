#include "options.h"

#include <CLI/CLI.hpp>
#include <fstream>
#include <regex>
#include <stdexcept>

namespace zelrtc::viewer {
namespace {

constexpr int kUsageError = 2;

// Options as CLI11 stores them, before they are checked and converted.
struct RawOptions {
    double seconds = 5;
    double connectSeconds = 15;
    int jitterMs = 1000;
    std::string abortAt;
    std::string tokenFile;
    std::vector<std::string> switches;
    std::vector<std::string> servers;
    std::string passOn;
};

Milliseconds toMilliseconds(double seconds) {
    return std::chrono::duration_cast<Milliseconds>(std::chrono::duration<double>(seconds));
}

double parseSeconds(const std::string& text) {
    size_t used = 0;
    double seconds = -1;
    try {
        seconds = std::stod(text, &used);
    } catch (const std::logic_error&) {
        used = 0;
    }
    if (used == 0 || used != text.size() || !(seconds >= 0 && seconds < 1e6)) {
        throw std::invalid_argument("not a number of seconds: " + text);
    }
    return seconds;
}

StreamSwitch parseSwitch(const std::string& text) {
    std::smatch parts;
    if (!std::regex_match(text, parts, std::regex("([0-9.]+):([0-2])"))) {
        throw std::invalid_argument("--switch-at wants SECONDS:STREAM with a stream from 0 to 2, not " + text);
    }
    return {toMilliseconds(parseSeconds(parts[1])), std::stoi(parts[2])};
}

void parseAbort(const std::string& text, Options& options) {
    if (text.empty()) {
        return;
    }
    if (text == "offer") {
        options.abortPoint = AbortPoint::kAfterOffer;
    } else if (text == "gathering") {
        options.abortPoint = AbortPoint::kWhileGathering;
    } else if (text == "dtls") {
        options.abortPoint = AbortPoint::kInDtlsHandshake;
    } else {
        options.abortPoint = AbortPoint::kAfterTime;
        options.abortAfter = toMilliseconds(parseSeconds(text));
    }
}

void declareCamera(CLI::App& app, Options& options, RawOptions& raw) {
    app.add_option("url", options.camera.url, "The camera's address as it prints it, e.g. http://127.0.0.1:8080")
        ->required();
    app.add_option("--certificate", options.camera.certificateFile,
                   "The camera's certificate (PEM), where it has made it itself")
        ->check(CLI::ExistingFile);
    app.add_option("--token-file", raw.tokenFile, "Show the camera the token in this file's first line")
        ->check(CLI::ExistingFile);
}

void declareCall(CLI::App& app, Options& options, RawOptions& raw) {
    app.add_option("--seconds", raw.seconds, "How long to look, from the connection on")
        ->check(CLI::Range(0.0, 1e6))
        ->capture_default_str();
    app.add_flag("--keep", options.untilInterrupted, "Look until SIGINT or until the camera ends the call");
    app.add_option("--connect-timeout", raw.connectSeconds, "How long the connection may take")
        ->check(CLI::Range(0.0, 1e6))
        ->capture_default_str();
    app.add_option("--calls", options.calls, "Place this many calls at the same time")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_flag("!--no-trickle", options.trickle, "One offer and one answer that hold all candidates");
    app.add_flag("--whep", options.whep, "Place the call at /whep");
    app.add_option("--ice-server", raw.servers, "URL[,USER,CREDENTIAL] of a STUN or TURN server; may be repeated")
        ->allow_extra_args(false);
    app.add_flag("--relay-only", options.relayOnly, "Use relayed candidates only");
    app.add_option("--local-address", options.localAddresses, "Gather on this address only; may be repeated")
        ->allow_extra_args(false);
    app.add_option("--abort-at", raw.abortAt,
                   "Leave without hanging up: after the offer, gathering, in the dtls handshake, or SECONDS after the "
                   "connection");
}

void declareMedia(CLI::App& app, Options& options, RawOptions& raw) {
    app.add_option("--stream", options.stream, "Ask for this video stream")->check(CLI::Range(0, 2));
    app.add_option("--switch-at", raw.switches, "SECONDS:STREAM, switch then; may be repeated")
        ->allow_extra_args(false);
    app.add_flag("!--no-decode", options.decode, "Count access units, decode nothing");
    app.add_flag("!--no-talk", options.talk, "Send no audio");
    app.add_option("--jitter-buffer", raw.jitterMs,
                   "Milliseconds to wait for a missing packet; complete pictures do not wait")
        ->check(CLI::Range(0, 10000))
        ->capture_default_str();
    app.add_option("--pass-on", raw.passOn,
                   "HOST:PORT[,HOST:PORT]: send the received video there as plain RTP (payload type 96), and the audio "
                   "to the second (type 0); RTCP goes to the next port each. Decodes nothing, sends no audio");
}

void declareReport(CLI::App& app, Options& options) {
    app.add_flag("--json", options.json, "Report as JSON");
    app.add_option("--record", options.recordPath, "Write the received audio to this WAV file (one call only)");
    app.add_option("--timeline", options.timelinePath,
                   "Write what arrives, a line of JSON every second, to this file (one call only)");
}

void readAddress(CameraAddress& camera) {
    std::smatch parts;
    if (!std::regex_match(camera.url, parts, std::regex("(https?://[^/]+)/?(\\?token=([^&]+))?"))) {
        throw std::invalid_argument("the address must look like http[s]://HOST:PORT[/?token=TOKEN], this one is " +
                                    camera.url);
    }
    camera.token = parts[3];
    camera.url = std::string(parts[1]);
}

// Other users of the machine can read a command line, but not the file.
void readToken(const std::string& path, CameraAddress& camera) {
    if (path.empty()) {
        return;
    }
    if (!camera.token.empty()) {
        throw std::invalid_argument("there is a token in the address already, so --token-file is one too many");
    }
    std::ifstream file(path);
    if (!std::getline(file, camera.token) || camera.token.empty()) {
        throw std::invalid_argument("there is no token in " + path);
    }
}

// Whoever watches behind the server is no visitor: the camera shall not hear a tone from it.
void takePassOn(const std::string& text, Options& options) {
    if (text.empty()) {
        return;
    }
    options.passOn = parseRtpAddresses(text);
    options.decode = false;
    options.talk = false;
    if (options.calls > 1) {
        throw std::invalid_argument("--pass-on is for a single call");
    }
}

void check(Options& options, const RawOptions& raw) {
    readAddress(options.camera);
    readToken(raw.tokenFile, options.camera);
    options.duration = toMilliseconds(raw.seconds);
    options.connectTimeout = toMilliseconds(raw.connectSeconds);
    options.jitterBuffer = Milliseconds(raw.jitterMs);
    for (const std::string& text : raw.switches) {
        options.switches.push_back(parseSwitch(text));
    }
    for (const std::string& text : raw.servers) {
        options.iceServers.push_back(parseIceServer(text));
    }
    parseAbort(raw.abortAt, options);
    takePassOn(raw.passOn, options);
    if (options.whep && (options.stream || !options.switches.empty())) {
        throw std::invalid_argument("a WHEP call cannot choose its stream");
    }
    if (!options.recordPath.empty() && options.calls > 1) {
        throw std::invalid_argument("--record is for a single call");
    }
    if (!options.timelinePath.empty() && options.calls > 1) {
        throw std::invalid_argument("--timeline is for a single call");
    }
}

}  // namespace

Options parseOptions(int argc, const char* const* argv) {
    Options options;
    RawOptions raw;
    CLI::App app("Places calls at a camera and prints what arrived", "zelrtc-viewer");
    declareCamera(app, options, raw);
    declareCall(app, options, raw);
    declareMedia(app, options, raw);
    declareReport(app, options);
    try {
        app.parse(argc, argv);
        check(options, raw);
    } catch (const CLI::ParseError& error) {
        throw StartRefused{app.exit(error) == 0 ? 0 : kUsageError};
    } catch (const std::invalid_argument& error) {
        std::cerr << error.what() << '\n';
        throw StartRefused{kUsageError};
    }
    return options;
}

}  // namespace zelrtc::viewer
