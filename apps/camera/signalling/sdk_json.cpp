#include "signalling/sdk_json.h"

#include <nlohmann/json.hpp>

namespace zelrtc::camera {

namespace {

using nlohmann::json;

// Viewers may send bytes that are no UTF-8.
std::string written(const json& document) {
    return document.dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace

std::string offerJson(const std::string& sdp) {
    return written({{"type", "offer"}, {"sdp", sdp}});
}

std::string candidateJson(const TrickledCandidate& candidate) {
    return written({{"candidate", candidate.line}, {"sdpMid", candidate.mid}, {"sdpMLineIndex", candidate.mediaIndex}});
}

std::string sdpOfAnswer(const std::string& answer) {
    const json description = json::parse(answer, nullptr, false);
    if (!description.is_object()) {
        return {};
    }
    return description.value("sdp", std::string());
}

}  // namespace zelrtc::camera
