// The demo camera: serves a page, answers its calls and sends them picture and sound.

#include <pthread.h>
#include <spdlog/spdlog.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>

#include "call/call_keeper.h"
#include "call/call_registry.h"
#include "events/log_sink.h"
#include "http/http_server.h"
#include "media/media_hub.h"
#include "options.h"
#include "process/heap.h"
#include "signalling/calls_api.h"
#include "signalling/whep_api.h"

namespace {

using namespace zelrtc::camera;

// A viewer keeps an event stream open and sends a request or two beside it.
constexpr size_t kThreadsPerCall = 3;
constexpr size_t kSpareThreads = 16;

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

std::string urlOf(const Options& options, int port) {
    const bool isIpv6 = options.host.find(':') != std::string::npos;
    return "http://" + (isIpv6 ? "[" + options.host + "]" : options.host) + ":" + std::to_string(port) + "/";
}

void serve(const Options& options, const sigset_t& stopSignals) {
    installLog(options.logLevel, options.logFile);
    initVideo();
    MediaHub hub(options.video, options.audioFile.empty() ? tonePattern() : readMulawFile(options.audioFile));
    HttpServer server(options.calls.maxCalls * kThreadsPerCall + kSpareThreads);
    const int port = server.bind(options.host, options.port);
    const Sdk sdk;
    CallRegistry calls(options.calls, hub);
    addCallRoutes(server, calls, hub);
    addWhepRoutes(server, calls);
    {
        const CallKeeper keeper(calls);
        std::thread serving(&HttpServer::listen, &server);
        server.waitUntilServing();
        std::printf("listening on %s\n", urlOf(options, port).c_str());
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
