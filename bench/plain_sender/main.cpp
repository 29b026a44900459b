// plain-sender: serves the demo camera's streams over webrtcbin, with neither session nor SDK in between. It has the
// part of the camera's HTTP interface that the headless viewer needs. For comparison only.
#include <pthread.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "http/http_error.h"
#include "http/http_server.h"
#include "media/audio_source.h"
#include "plain_peer.h"
#include "process/process_usage.h"
#include "signalling/event_stream.h"

namespace {

using nlohmann::json;
using zelrtc::bench::Start;
using zelrtc::camera::Request;
using zelrtc::camera::Response;
using zelrtc::camera::VideoInput;

// Each call has three connections, all from one address, and up to 64 calls at a time are compared.
constexpr size_t kMostConnections = 64 * 3 + 32;

class Sender {
public:
    Sender(zelrtc::camera::MediaHub* hub, int stream, Start start) : hub_(hub), stream_(stream), start_(start) {
    }

    json place(const std::string& body) {
        auto peer = std::make_shared<zelrtc::bench::PlainPeer>([this] { hub_->requestKeyFrame(stream_); }, start_);
        const std::string sdp = peer->answer(json::parse(body).at("sdp"));
        const json answer = {{"type", "answer"}, {"sdp", sdp}};
        peer->events()->append("answer", answer.dump());
        hub_->attach(peer, stream_);
        const std::lock_guard<std::mutex> lock(mutex_);
        peers_[++newestId_] = peer;
        return {{"id", newestId_}, {"trickle", true}, {"answer", answer}};
    }

    std::shared_ptr<zelrtc::bench::PlainPeer> find(const Request& request) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = peers_.find(std::stoi(request.variables.at(0)));
        if (found == peers_.end()) {
            throw zelrtc::camera::HttpError(404, "there is no such call");
        }
        return found->second;
    }

    void end(const Request& request) {
        const std::shared_ptr<zelrtc::bench::PlainPeer> peer = find(request);
        hub_->detach(peer);
        peer->events()->append("ended", R"({"reason":"the viewer hung up"})");
        const std::lock_guard<std::mutex> lock(mutex_);
        peers_.erase(std::stoi(request.variables.at(0)));
    }

    size_t calls() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return peers_.size();
    }

private:
    zelrtc::camera::MediaHub* hub_;
    const int stream_;
    const Start start_;
    std::mutex mutex_;
    std::map<int, std::shared_ptr<zelrtc::bench::PlainPeer>> peers_;
    int newestId_ = 0;
};

Response jsonResponse(int status, const json& body) {
    Response response;
    response.status = status;
    response.type = "application/json";
    response.body = body.dump();
    return response;
}

Response emptyResponse() {
    Response response;
    response.status = 204;
    return response;
}

void addRoutes(zelrtc::camera::HttpServer* server, Sender* sender) {
    using zelrtc::camera::kOpen;
    server->route("POST", {"calls"}, [sender](const Request& request) {
        const json placed = sender->place(request.body);
        Response response = jsonResponse(201, placed);
        response.headers.push_back({"Location", "/calls/" + placed["id"].dump()});
        return response;
    });
    server->route("GET", {"calls", kOpen, "events"}, [sender](const Request& request) {
        return zelrtc::camera::streamEvents(sender->find(request)->events(), request);
    });
    server->route("POST", {"calls", kOpen, "candidates"}, [sender](const Request& request) {
        const json candidate = json::parse(request.body);
        sender->find(request)->addCandidate(candidate.at("sdpMLineIndex"), candidate.at("candidate"));
        return emptyResponse();
    });
    server->route("DELETE", {"calls", kOpen}, [sender](const Request& request) {
        sender->end(request);
        return emptyResponse();
    });
    server->route("GET", {"health"}, [sender](const Request&) {
        json health{{"status", "ok"}, {"calls", sender->calls()}};
        if (const auto bytes = zelrtc::camera::heapBytes()) {
            health["heapBytes"] = *bytes;
        }
        return jsonResponse(200, health);
    });
}

VideoInput inputFrom(const std::string& file, const std::string& camera) {
    if (!file.empty()) {
        return {VideoInput::Kind::kFile, file};
    }
    return camera.empty() ? VideoInput{} : VideoInput{VideoInput::Kind::kRtsp, camera};
}

void serve(const VideoInput& input, Start start) {
    constexpr int kStream = 1;
    zelrtc::camera::initVideo();
    std::array<zelrtc::camera::VideoInput, zelrtc::camera::kVideoStreams> inputs;
    inputs.at(kStream) = input;
    zelrtc::camera::MediaHub hub(inputs, zelrtc::camera::tonePattern());
    Sender sender(&hub, kStream, start);
    zelrtc::camera::HttpSettings settings;
    settings.limits.connections = settings.limits.connectionsPerAddress = kMostConnections;
    zelrtc::camera::HttpServer server(settings);
    addRoutes(&server, &sender);
    const int port = server.bind("127.0.0.1", 0);

    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread serving(&zelrtc::camera::HttpServer::listen, &server);
    std::printf("listening on http://127.0.0.1:%d/\n", port);
    std::fflush(stdout);
    int received = 0;
    sigwait(&signals, &received);
    server.stop();
    serving.join();
}

}  // namespace

int main(int argc, char** argv) try {
    CLI::App app{"Serves a stream over webrtcbin alone, for comparison with the camera"};
    std::string file;
    std::string camera;
    bool startsWithNext = false;
    auto* fileOption = app.add_option("--video-file", file, "An H.264 file instead of the test picture");
    fileOption->check(CLI::ExistingFile);
    app.add_option("--video-rtsp", camera, "The URL of an IP camera instead of the test picture")->excludes(fileOption);
    app.add_flag("--next-key-frame", startsWithNext,
                 "Begin with the next key frame of the file or the IP camera, as if none were kept");
    CLI11_PARSE(app, argc, argv);
    serve(inputFrom(file, camera), startsWithNext ? Start::kNext : Start::kKept);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "plain-sender: %s\n", error.what());
    return 2;
}
