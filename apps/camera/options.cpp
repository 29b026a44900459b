#include "options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <utility>
#include <vector>

#include "call/sdk_limits.h"
#include "http/letter_case.h"
#include "media/h264_check.h"

namespace zelrtc::camera {

namespace {

constexpr int kMostCalls = 64;
constexpr int kMostRecordedMib = 1024 * 1024;
constexpr int kLastPort = 65535;

// Options as typed, before they are parsed further.
struct Texts {
    std::string listen = "127.0.0.1:8080";
    bool onAllAddresses = false;
    std::vector<std::string> videoFiles;
    std::vector<std::string> videoPipelines;
    std::vector<std::string> videoRtsp;
    std::vector<std::string> iceServers;
    std::string iceServerFile;
    bool noTrickle = false;
};

[[noreturn]] void refuse(const std::string& option, const std::string& reason) {
    throw CLI::ValidationError(option, reason);
}

std::optional<int> wholeNumber(const std::string& text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

void readAddress(const Texts& texts, Options& options) {
    const size_t colon = texts.listen.rfind(':');
    const auto port = wholeNumber(colon == std::string::npos ? "" : texts.listen.substr(colon + 1));
    if (!port || *port < 0 || *port > kLastPort) {
        refuse("--listen", "\"" + texts.listen + "\" is not ADDRESS:PORT with a port of 0 to 65535");
    }
    std::string host = texts.listen.substr(0, colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
    }
    if (host.empty() && !texts.onAllAddresses) {
        refuse("--listen", "\"" + texts.listen + "\" has no address; --all-addresses listens on every one");
    }
    options.host = texts.onAllAddresses ? "0.0.0.0" : host;
    options.port = *port;
}

// What viewers may not show is only worth a word, later; without start codes or parameter sets there is no picture.
void checkFile(const std::string& option, const std::string& path) {
    if (const auto reason = whyFileShowsNothing(path)) {
        refuse(option, "\"" + path + "\" cannot be shown: " + *reason);
    }
}

void readVideo(const std::string& option, VideoInput::Kind kind, const std::vector<std::string>& texts,
               Options& options) {
    for (const std::string& text : texts) {
        const size_t equals = text.find('=');
        const auto number = wholeNumber(text.substr(0, equals));
        if (equals == std::string::npos || !number || *number < 0 || *number >= kVideoStreams) {
            refuse(option, "\"" + text + "\" does not begin with a stream number and \"=\": 0=, 1= or 2=");
        }
        const VideoInput input{kind, text.substr(equals + 1)};
        if (kind == VideoInput::Kind::kFile && !std::filesystem::is_regular_file(input.text)) {
            refuse(option, "there is no file \"" + input.text + "\"");
        }
        if (kind == VideoInput::Kind::kFile) {
            checkFile(option, input.text);
        }
        if (kind == VideoInput::Kind::kRtsp && input.text.compare(0, 7, "rtsp://") != 0 &&
            input.text.compare(0, 8, "rtsps://") != 0) {
            refuse(option, "\"" + input.text + "\" does not begin with rtsp:// or rtsps://");
        }
        options.video.at(static_cast<size_t>(*number)) = input;
    }
}

ZelRtcIceServer iceServerOf(const std::string& text) {
    // A credential may hold commas of its own.
    const size_t first = text.find(',');
    const size_t second = first == std::string::npos ? first : text.find(',', first + 1);
    if (first != std::string::npos && second == std::string::npos) {
        refuse("--ice-server", "\"" + text + "\" has a user but no credential: URL,USER,CREDENTIAL");
    }
    ZelRtcIceServer server{text.substr(0, first), "", ""};
    if (second != std::string::npos) {
        server.username = text.substr(first + 1, second - first - 1);
        server.credential = text.substr(second + 1);
    }
    return server;
}

void checkServerText(const char* what, const std::string& text, size_t longest) {
    if (text.size() > longest) {
        refuse("--ice-server",
               std::string("the ") + what + " is longer than " + std::to_string(longest) + " characters");
    }
}

void checkIceServer(const ZelRtcIceServer& server) {
    const std::string scheme = server.url.substr(0, server.url.find(':'));
    if (scheme != "stun" && scheme != "turn" && scheme != "turns") {
        refuse("--ice-server", "\"" + server.url + "\" does not begin with stun:, turn: or turns:");
    }
    if (scheme != "stun" && server.username.empty()) {
        refuse("--ice-server", "\"" + server.url + "\" needs a user and a credential: URL,USER,CREDENTIAL");
    }
    checkServerText("URL", server.url, kLongestServerUrl);
    checkServerText("user", server.username, kLongestServerUser);
    checkServerText("credential", server.credential, kLongestServerCredential);
}

void addIceServer(const std::string& text, Options& options) {
    const ZelRtcIceServer server = iceServerOf(text);
    checkIceServer(server);
    options.calls.session.iceServers.push_back(server);
}

void readIceServers(const Texts& texts, Options& options) {
    for (const std::string& text : texts.iceServers) {
        addIceServer(text, options);
    }
    std::ifstream file(texts.iceServerFile);
    for (std::string line; std::getline(file, line);) {
        if (!line.empty()) {
            addIceServer(line, options);
        }
    }
}

// Browsers send them in this form, so nothing else would ever be equal to one.
void checkOrigins(const Options& options) {
    for (const std::string& origin : options.allowedOrigins) {
        const size_t scheme = origin.find("://");
        const bool isWeb = origin.compare(0, scheme, "http") == 0 || origin.compare(0, scheme, "https") == 0;
        const std::string host = scheme == std::string::npos ? "" : origin.substr(scheme + 3);
        if (!isWeb || host.empty() || host.find_first_of("/?#@* ") != std::string::npos || lowerCase(host) != host) {
            refuse("--allow-origin", "\"" + origin + "\" is not http://HOST[:PORT] or https://HOST[:PORT]");
        }
    }
}

void makeRecordDir(const Options& options) {
    if (options.calls.recordDir.empty()) {
        return;
    }
    std::error_code error;
    std::filesystem::create_directories(options.calls.recordDir, error);
    if (!std::filesystem::is_directory(options.calls.recordDir)) {
        refuse("--record-dir", "\"" + options.calls.recordDir + "\" is no directory and cannot be made one");
    }
}

// An option that may be repeated, but takes one value each time.
void takeMany(CLI::Option* option) {
    option->allow_extra_args(false);
}

void describeTheDoor(CLI::App& app, Texts& texts, Options& options) {
    app.add_option("--listen", texts.listen, "Where to serve, ADDRESS:PORT; port 0 takes a free one")
        ->capture_default_str();
    app.add_flag("--all-addresses", texts.onAllAddresses, "Serve on every address of this machine");
    CLI::Option* chain =
        app.add_option("--tls-cert", options.tlsChainFile, "Serve over TLS with this certificate (PEM)")
            ->check(CLI::ExistingFile);
    CLI::Option* key =
        app.add_option("--tls-key", options.tlsKeyFile, "The certificate's key (PEM)")->check(CLI::ExistingFile);
    chain->needs(key);
    key->needs(chain);
    app.add_flag("--tls-self-signed", options.tlsSelfSigned, "Serve over TLS with a certificate made at the start")
        ->excludes(chain)
        ->excludes(key);
    CLI::Option* noToken = app.add_flag("--no-token", options.noToken, "Let everybody in who reaches the port");
    app.add_option("--token-file", options.tokenFile, "Let in who has the token in this file's first line")
        ->check(CLI::ExistingFile)
        ->excludes(noToken);
    takeMany(app.add_option("--allow-origin", options.allowedOrigins,
                            "Let players on pages of this site use WHEP, such as https://example.com"));
}

void describe(CLI::App& app, Texts& texts, Options& options) {
    describeTheDoor(app, texts, options);
    takeMany(
        app.add_option("--video-file", texts.videoFiles, "N=PATH: stream N shows an H.264 file (Annex B), looped"));
    takeMany(app.add_option("--video-pipeline", texts.videoPipelines,
                            "N=TEXT: stream N shows a GStreamer pipeline that ends in H.264"));
    takeMany(app.add_option("--video-rtsp", texts.videoRtsp,
                            "N=URL: stream N shows an IP camera's H.264, with its sound if that is mu-law"));
    app.add_option("--audio-file", options.audioFile, "Raw mu-law at 8 kHz, looped, instead of the tone")
        ->check(CLI::ExistingFile);
    takeMany(app.add_option("--ice-server", texts.iceServers, "URL[,USER,CREDENTIAL] of a STUN or TURN server"));
    app.add_option("--ice-server-file", texts.iceServerFile,
                   "More of them, one a line, so that no credential is on the command line")
        ->check(CLI::ExistingFile);
    app.add_flag("--relay-only", options.calls.session.relayOnly, "Use relayed (TURN) candidates only");
    app.add_flag("--no-trickle", texts.noTrickle, "Answer with all candidates at once unless a viewer asks otherwise");
    app.add_flag("--assistant-call", options.calls.session.isAlexaCall, "Treat every call as one of a voice assistant");
    app.add_option("--record-dir", options.calls.recordDir, "Record viewers' audio there, as call-ID.wav");
    app.add_option("--record-limit", options.calls.recordLimitMib, "How many MiB all recordings may take")
        ->check(CLI::Range(1, kMostRecordedMib))
        ->capture_default_str();
    app.add_option("--call-list", options.calls.listFile,
                   "Write the addresses of all calls there, for this machine's owner to steer them");
    app.add_option("--max-calls", options.calls.maxCalls, "How many calls at the same time")
        ->check(CLI::Range(1, kMostCalls))
        ->capture_default_str();
    app.add_option("--log-level", options.logLevel, "Lowest level in the log: 1 all, 3 progress, 5 failures, 7 none")
        ->check(CLI::Range(1, 7))
        ->capture_default_str();
    app.add_option("--log-file", options.logFile, "Write the log there instead of to standard error");
}

void interpret(const Texts& texts, Options& options) {
    readAddress(texts, options);
    readVideo("--video-file", VideoInput::Kind::kFile, texts.videoFiles, options);
    readVideo("--video-pipeline", VideoInput::Kind::kPipeline, texts.videoPipelines, options);
    readVideo("--video-rtsp", VideoInput::Kind::kRtsp, texts.videoRtsp, options);
    readIceServers(texts, options);
    checkOrigins(options);
    options.calls.session.trickleIce = !texts.noTrickle;
    makeRecordDir(options);
}

std::string version() {
    return std::to_string(ZELRTC_VERSION_MAJOR) + "." + std::to_string(ZELRTC_VERSION_MINOR) + "." +
           std::to_string(ZELRTC_VERSION_PATCH);
}

}  // namespace

std::optional<Options> readOptions(int argc, char** argv, int& exitStatus) {
    CLI::App app("A camera to call from a browser: test picture, tone and talk-back over WebRTC.", "zelrtc-camera");
    app.set_version_flag("--version", version());
    Texts texts;
    Options options;
    describe(app, texts, options);
    try {
        app.parse(argc, argv);
        interpret(texts, options);
    } catch (const CLI::ParseError& error) {
        exitStatus = app.exit(error) == 0 ? 0 : 2;
        return std::nullopt;
    }
    return options;
}

}  // namespace zelrtc::camera
