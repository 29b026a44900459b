#include "whep_signalling.h"

#include <chrono>

namespace zelrtc::viewer {
namespace {

constexpr std::chrono::seconds kAnswerLimit(15);

std::string lineStartingWith(const std::string& sdp, const std::string& start) {
    const size_t begin = sdp.find("\n" + start);
    if (begin == std::string::npos) {
        return "";
    }
    const size_t end = sdp.find_first_of("\r\n", begin + 1);
    return sdp.substr(begin + 1, end - begin - 1) + "\r\n";
}

}  // namespace

WhepSignalling::WhepSignalling(const CameraAddress& camera) : requests_(clientOf(camera, kAnswerLimit)) {
}

Signalling::Answer WhepSignalling::place(const std::string& offerSdp, bool /*complete*/) {
    const httplib::Result result = requests_->Post("/whep", offerSdp, "application/sdp");
    const httplib::Response& response = expectSuccess(result, "placing the call");
    path_ = locationPath(response);
    etag_ = response.get_header_value("ETag");
    iceCredentials_ = lineStartingWith(offerSdp, "a=ice-ufrag:") + lineStartingWith(offerSdp, "a=ice-pwd:");
    return {path_.substr(path_.rfind('/') + 1), response.body};
}

void WhepSignalling::listen(SignallingListener& /*listener*/) {
    // A WHEP server sends nothing after its answer.
}

void WhepSignalling::sendCandidate(const Candidate& candidate) {
    const std::string fragment = iceCredentials_ + "m=video 9 UDP/TLS/RTP/SAVPF 0\r\na=mid:" + candidate.mid +
                                 "\r\na=" + candidate.text + "\r\n";
    httplib::Headers headers;
    if (!etag_.empty()) {
        headers.emplace("If-Match", etag_);
    }
    sendUntilAnswered([&] { return requests_->Patch(path_, headers, fragment, "application/trickle-ice-sdpfrag"); },
                      "sending a candidate");
}

void WhepSignalling::selectStream(int /*stream*/) {
    throw SignallingError("a WHEP call cannot choose its stream");
}

void WhepSignalling::askForKeyFrame() {
    // WHEP leaves it to the RTCP of the connection.
}

void WhepSignalling::hangUp() {
    expectSuccess(requests_->Delete(path_), "hanging up");
}

}  // namespace zelrtc::viewer
