// The demo camera: serves a page, answers its calls and sends them picture and sound.

#include <limits.h>
#include <pthread.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>

#include "call/call_keeper.h"
#include "call/call_registry.h"
#include "events/log_sink.h"
#include "http/descriptors.h"
#include "http/guards.h"
#include "http/http_server.h"
#include "http/letter_case.h"
#include "http/self_signed.h"
#include "media/media_hub.h"
#include "options.h"
#include "process/heap.h"
#include "process/random_key.h"
#include "signalling/access_token.h"
#include "signalling/calls_api.h"
#include "signalling/whep_api.h"

namespace {

using namespace zelrtc::camera;

// A viewer has an event stream and a request or two; all may sit behind one address.
constexpr size_t kConnectionsPerCall = 3;
constexpr size_t kSpareConnections = 32;
// Every call may wait for its answer at the same time; whatever else is asked takes no time.
constexpr size_t kSpareHandlers = 8;
// Sockets and pipes of a call at a machine with many network interfaces, and what the camera has besides.
constexpr size_t kDescriptorsPerCall = 64;
constexpr size_t kOwnDescriptors = 256;

// Every thread inherits the mask, so the signals stay pending until the main thread waits for them.
sigset_t blockStopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

void waitForStopSignal(const sigset_t& signals) {
    int received = 0;
    sigwait(&signals, &received);
    spdlog::info("stopping on signal {}", received);
    // A second signal ends the program at once.
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

// Keeps the SDK initialised from before the first session until after the last.
class Sdk {
public:
    Sdk() {
        if (initKvsWebRtc() != STATUS_SUCCESS) {
            throw std::runtime_error("the WebRTC SDK cannot be initialised");
        }
    }
    ~Sdk() {
        deinitKvsWebRtc();
    }
    Sdk(const Sdk&) = delete;
    Sdk& operator=(const Sdk&) = delete;
};

// What the machine is called on its network, so far as it knows.
std::string machineName() {
    std::array<char, HOST_NAME_MAX + 1> name{};
    gethostname(name.data(), name.size() - 1);
    return lowerCase(name.data());
}

std::string textOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

HttpCertificate certificateFor(const Options& options) {
    if (options.tlsSelfSigned) {
        return makeSelfSigned(options.host == "0.0.0.0" ? machineName() : options.host);
    }
    return options.tlsChainFile.empty() ? HttpCertificate{}
                                        : HttpCertificate{textOf(options.tlsChainFile), textOf(options.tlsKeyFile)};
}

std::string urlOf(const Options& options, int port, const std::string& token) {
    const bool isIpv6 = options.host.find(':') != std::string::npos;
    const bool hasTls = options.tlsSelfSigned || !options.tlsChainFile.empty();
    return (hasTls ? "https://" : "http://") + (isIpv6 ? "[" + options.host + "]" : options.host) + ":" +
           std::to_string(port) + "/" + (token.empty() ? "" : "?token=" + token);
}

HttpLimits limitsFor(size_t maxCalls) {
    HttpLimits limits;
    limits.connectionsPerAddress = maxCalls * kConnectionsPerCall + kSpareConnections;
    limits.connections = 2 * limits.connectionsPerAddress;
    limits.handlers = maxCalls + kSpareHandlers;
    return limits;
}

// What a descriptor is refused to is a call, because connections come first.
void reserveFor(size_t maxCalls, const HttpLimits& limits) {
    const DescriptorBudget budget =
        reserveDescriptors(kOwnDescriptors + limits.connections + maxCalls * kDescriptorsPerCall);
    if (budget.allowed < budget.wanted) {
        spdlog::warn("this process may have {} descriptors; {} calls and {} connections may need {}", budget.allowed,
                     maxCalls, limits.connections, budget.wanted);
    }
}

bool isLoopback(const std::string& host) {
    return host == "localhost" || host == "::1" || host.rfind("127.", 0) == 0;
}

HostNames namesOf(const Options& options) {
    if (isLoopback(options.host)) {
        return {};
    }
    const std::string own = machineName();
    return {true, {own, own + ".local", lowerCase(options.host)}};
}

// On the loopback address only this machine's users reach the port, and their browsers' pages are refused.
std::string tokenFor(const Options& options) {
    if (!options.tokenFile.empty()) {
        return readToken(options.tokenFile);
    }
    return options.noToken || isLoopback(options.host) ? "" : randomKey();
}

void addGuards(HttpServer& server, const Options& options, const std::string& token) {
    server.guard([names = namesOf(options)](const Request& request) { return refuseOtherHosts(request, names); });
    server.guard([&options](const Request& request) { return refuseOtherSites(request, options.allowedOrigins); });
    if (!token.empty()) {
        server.guard([token](const Request& request) { return refuseStrangers(request, token); });
    }
}

void serve(const Options& options, const sigset_t& stopSignals) {
    installLog(options.logLevel, options.logFile);
    initVideo();
    const std::string token = tokenFor(options);
    MediaHub hub(options.video, options.audioFile.empty() ? tonePattern() : readMulawFile(options.audioFile));
    const HttpLimits limits = limitsFor(options.calls.maxCalls);
    reserveFor(options.calls.maxCalls, limits);
    const HttpCertificate certificate = certificateFor(options);
    HttpServer server({limits, certificate});
    const int port = server.bind(options.host, options.port);
    if (!certificate.chain.empty()) {
        spdlog::info("the certificate's SHA-256 fingerprint is {}", fingerprintOf(certificate.chain));
    }
    const Sdk sdk;
    CallRegistry calls(options.calls, hub);
    addGuards(server, options, token);
    addCallRoutes(server, calls, hub);
    addWhepRoutes(server, calls, options.allowedOrigins);
    {
        const CallKeeper keeper(calls, returnFreeMemory);
        std::thread serving(&HttpServer::listen, &server);
        std::printf("listening on %s\n", urlOf(options, port, token).c_str());
        std::fflush(stdout);
        waitForStopSignal(stopSignals);
        calls.shutdown();
        server.stop();
        serving.join();
    }
}

}  // namespace

int main(int argc, char** argv) {
    int exitStatus = 0;
    const auto options = readOptions(argc, argv, exitStatus);
    if (!options) {
        return exitStatus;
    }
    keepToOneArena();
    try {
        serve(*options, blockStopSignals());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zelrtc-camera: %s\n", error.what());
        return 2;
    }
    return 0;
}
