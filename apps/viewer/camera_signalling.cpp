#include "camera_signalling.h"

#include <chrono>
#include <nlohmann/json.hpp>

namespace zelrtc::viewer {
namespace {

constexpr const char* kJsonType = "application/json";
constexpr std::chrono::seconds kResponseLimit(15);  // an answer with all candidates may take the camera 12
constexpr std::chrono::hours kQuietLimit(24);       // a call may go on without any event

void report(const ServerEvent& event, SignallingListener& listener) {
    const nlohmann::json data = nlohmann::json::parse(event.data);
    if (event.name == "candidate") {
        listener.onRemoteCandidate(
            {data.at("sdpMLineIndex").get<unsigned>(), data.at("sdpMid"), data.at("candidate").get<std::string>()});
    } else if (event.name == "state") {
        listener.onCameraState(data.at("state"), data.at("ms"));
    } else if (event.name == "level") {
        listener.onHeard(data.at("frames"));
    } else if (event.name == "ended") {
        listener.onEnded(data.at("reason"));
    }
}

void reportOrComplain(const ServerEvent& event, SignallingListener& listener) {
    try {
        report(event, listener);
    } catch (const nlohmann::json::exception& error) {
        listener.onEnded("the camera's event " + event.name + " is not as agreed: " + error.what());
    }
}

Signalling::Answer readAnswer(const std::string& text) {
    try {
        const nlohmann::json body = nlohmann::json::parse(text);
        return {body.at("id").dump(), body.at("answer").at("sdp")};
    } catch (const nlohmann::json::exception& error) {
        throw SignallingError(std::string("the camera's response is not as agreed: ") + error.what());
    }
}

}  // namespace

CameraSignalling::CameraSignalling(const CameraAddress& camera)
    : requests_(clientOf(camera, kResponseLimit)), events_(clientOf(camera, kQuietLimit)) {
}

CameraSignalling::~CameraSignalling() {
    leaving_ = true;
    events_->stop();
    if (reader_.joinable()) {
        reader_.join();
    }
}

Signalling::Answer CameraSignalling::place(const std::string& offerSdp, bool complete) {
    const nlohmann::json offer{{"type", "offer"}, {"sdp", offerSdp}};
    const httplib::Result result =
        requests_->Post(complete ? "/calls?trickle=0" : "/calls?trickle=1", offer.dump(), kJsonType);
    const httplib::Response& response = expectSuccess(result, "placing the call");
    path_ = locationPath(response);
    return readAnswer(response.body);
}

void CameraSignalling::listen(SignallingListener& listener) {
    reader_ = std::thread([this, &listener] { readEvents(listener); });
}

void CameraSignalling::readEvents(SignallingListener& listener) {
    EventStreamParser parser([&listener](const ServerEvent& event) { reportOrComplain(event, listener); });
    const auto feed = [this, &parser](const char* data, size_t size) {
        parser.feed({data, size});
        return !leaving_;
    };
    try {
        const httplib::Result result = events_->Get(path_ + "/events", {{"Accept", "text/event-stream"}}, feed);
        expectSuccess(result, "reading the call's events");
        listener.onEnded("the camera closed the event stream");
    } catch (const SignallingError& error) {
        listener.onEnded(error.what());
    }
}

void CameraSignalling::sendCandidate(const Candidate& candidate) {
    const nlohmann::json body{
        {"candidate", candidate.text}, {"sdpMid", candidate.mid}, {"sdpMLineIndex", candidate.line}};
    sendUntilAnswered([&] { return requests_->Post(path_ + "/candidates", body.dump(), kJsonType); },
                      "sending a candidate");
}

void CameraSignalling::selectStream(int stream) {
    const nlohmann::json body{{"video", stream}};
    sendUntilAnswered([&] { return requests_->Post(path_ + "/streams", body.dump(), kJsonType); },
                      "choosing the stream");
}

void CameraSignalling::askForKeyFrame() {
    const nlohmann::json body{{"keyFrame", true}};
    expectSuccess(requests_->Post(path_ + "/streams", body.dump(), kJsonType), "asking for a key frame");
}

void CameraSignalling::hangUp() {
    expectSuccess(requests_->Delete(path_), "hanging up");
}

}  // namespace zelrtc::viewer
