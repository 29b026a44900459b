#include "signalling/offer_check.h"

#include <nlohmann/json.hpp>

#include "http/http_error.h"
#include "http/letter_case.h"

namespace zelrtc::camera {

namespace {

using nlohmann::json;

// The SDK's limits.
constexpr size_t kLongestSdp = 25000;
constexpr size_t kLongestCandidate = 255;

json parseObject(const std::string& text, const char* what) {
    json object = json::parse(text, nullptr, false);
    if (object.is_discarded()) {
        throw Problem(400, std::string("the ") + what + " is not JSON");
    }
    if (!object.is_object()) {
        throw Problem(400, std::string("the ") + what + " is not a JSON object");
    }
    return object;
}

std::string stringMember(const json& object, const char* name, const char* what) {
    const auto member = object.find(name);
    if (member == object.end() || !member->is_string()) {
        throw Problem(400, std::string("the ") + what + " has no text member \"" + name + "\"");
    }
    return member->get<std::string>();
}

bool startsWith(const std::string& text, const char* start) {
    return text.rfind(start, 0) == 0;
}

// In lower case, since codec names ignore case; empty if there is none.
std::string videoSection(const std::string& sdp) {
    const size_t start = sdp.find("\nm=video ");
    if (start == std::string::npos) {
        return {};
    }
    return lowerCase(sdp.substr(start, sdp.find("\nm=", start + 1) - start));
}

// Whether the section maps a payload type to a codec whose name starts with `name`.
bool namesCodec(const std::string& section, const std::string& name) {
    constexpr const char* kMapping = "\na=rtpmap:";
    for (size_t at = section.find(kMapping); at != std::string::npos; at = section.find(kMapping, at + 1)) {
        const size_t space = section.find(' ', at);
        if (space != std::string::npos && section.compare(space + 1, name.size(), name) == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

void checkOffer(const std::string& text) {
    const json offer = parseObject(text, "offer");
    if (stringMember(offer, "type", "offer") != "offer") {
        throw Problem(400, "the description's type is not \"offer\"");
    }
    const std::string sdp = stringMember(offer, "sdp", "offer");
    if (sdp.size() > kLongestSdp) {
        throw Problem(413, "the offer's sdp is longer than 25000 characters");
    }
    if (!startsWith(sdp, "v=0")) {
        throw Problem(400, "the offer's sdp is not a session description: it does not start with \"v=0\"");
    }
    const std::string video = videoSection(sdp);
    if (video.empty()) {
        throw Problem(422, "the offer asks for no video: it has no \"m=video\" section");
    }
    if (namesCodec(video, "") && !namesCodec(video, "h264/")) {
        throw Problem(422,
                      "the viewer cannot show H.264, which is what the camera sends: it offers other video codecs");
    }
}

void checkCandidate(const std::string& text) {
    const std::string line = stringMember(parseObject(text, "candidate"), "candidate", "candidate");
    if (line.size() > kLongestCandidate) {
        throw Problem(400, "the candidate is longer than 255 characters");
    }
}

std::string offerFromSdp(const std::string& sdp) {
    return json{{"type", "offer"}, {"sdp", sdp}}.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string sdpOfAnswer(const std::string& answer) {
    const json description = json::parse(answer, nullptr, false);
    if (!description.is_object()) {
        return {};
    }
    return description.value("sdp", std::string());
}

}  // namespace zelrtc::camera
