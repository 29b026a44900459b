#include "signalling/offer_check.h"

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

#include "call/sdk_limits.h"
#include "http/http_error.h"
#include "http/letter_case.h"

namespace zelrtc::camera {

namespace {

using nlohmann::json;

constexpr size_t kMostQuoted = 60;

json parseObject(const std::string& text, const char* what) {
    json object = json::parse(text, nullptr, false);
    if (object.is_discarded()) {
        throw HttpError(400, std::string("the ") + what + " is not JSON");
    }
    if (!object.is_object()) {
        throw HttpError(400, std::string("the ") + what + " is not a JSON object");
    }
    return object;
}

std::string stringMember(const json& object, const char* name, const char* what) {
    const auto member = object.find(name);
    if (member == object.end() || !member->is_string()) {
        throw HttpError(400, std::string("the ") + what + " has no text member \"" + name + "\"");
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

// The payload types that a section maps to codecs whose name begins so.
std::vector<std::string> payloadTypesOf(const std::string& section, const std::string& name) {
    constexpr const char* kMapping = "\na=rtpmap:";
    std::vector<std::string> found;
    for (size_t at = section.find(kMapping); at != std::string::npos; at = section.find(kMapping, at + 1)) {
        const size_t start = at + std::strlen(kMapping);
        const size_t space = section.find(' ', at);
        if (space != std::string::npos && section.compare(space + 1, name.size(), name) == 0) {
            found.push_back(section.substr(start, space - start));
        }
    }
    return found;
}

bool takesFragments(const std::string& section, const std::string& payloadType) {
    const size_t start = section.find("\na=fmtp:" + payloadType + " ");
    if (start == std::string::npos) {
        return false;
    }
    const std::string line = section.substr(start, section.find('\n', start + 1) - start);
    return line.find("packetization-mode=1") != std::string::npos;
}

void checkLength(const std::string& sdp) {
    const std::string escaped = json(sdp).dump(-1, ' ', false, json::error_handler_t::replace);
    if (escaped.size() - std::strlen("\"\"") > kLongestSdp) {
        throw HttpError(413, "the offer's sdp is longer than " + std::to_string(kLongestSdp) +
                                 " characters, counted as JSON, in which each line end takes 4");
    }
}

bool hasFourFields(const std::string& mediaLine) {
    std::istringstream fields(mediaLine);
    std::string field;
    int count = 0;
    while (count < 4 && std::getline(fields, field, ' ') && !field.empty()) {
        ++count;
    }
    return count == 4;
}

// An SDK may crash on an m-line that breaks off.
void checkMediaLines(const std::string& sdp) {
    std::istringstream lines(sdp);
    for (std::string line; std::getline(lines, line);) {
        line.erase(line.find_last_not_of('\r') + 1);
        if (startsWith(line, "m=") && !hasFourFields(line.substr(std::strlen("m=")))) {
            throw HttpError(400, "the offer's line \"" + line.substr(0, kMostQuoted) +
                                     "\" is not a kind, a port, a protocol and at least one format");
        }
    }
}

void checkVideo(const std::string& sdp) {
    const std::string video = videoSection(sdp);
    if (video.empty()) {
        throw HttpError(422, "the offer asks for no video: it has no \"m=video\" section");
    }
    if (payloadTypesOf(video, "").empty()) {
        return;
    }
    const std::vector<std::string> h264 = payloadTypesOf(video, "h264/");
    if (h264.empty()) {
        throw HttpError(422,
                        "the viewer cannot show H.264, which is what the camera sends: it offers other video codecs");
    }
    // Pictures are larger than packets.
    if (std::none_of(h264.begin(), h264.end(),
                     [&video](const std::string& payloadType) { return takesFragments(video, payloadType); })) {
        throw HttpError(422, "the viewer takes H.264 only in whole units: it offers it without packetization-mode=1");
    }
}

void checkMultiplexing(const std::string& sdp) {
    if (sdp.find("\na=rtcp-mux") == std::string::npos) {
        throw HttpError(422, "the offer has no a=rtcp-mux: the camera sends RTP and RTCP through one port");
    }
}

}  // namespace

std::string sdpOfOffer(const std::string& text) {
    const json offer = parseObject(text, "offer");
    if (stringMember(offer, "type", "offer") != "offer") {
        throw HttpError(400, "the description's type is not \"offer\"");
    }
    return stringMember(offer, "sdp", "offer");
}

void checkOfferedSdp(const std::string& sdp) {
    checkLength(sdp);
    if (!startsWith(sdp, "v=0")) {
        throw HttpError(400, "the offer's sdp is not a session description: it does not start with \"v=0\"");
    }
    checkMediaLines(sdp);
    checkVideo(sdp);
    checkMultiplexing(sdp);
}

void checkCandidateLine(const std::string& line) {
    if (line.size() > kLongestCandidate) {
        throw HttpError(400, "the candidate is longer than " + std::to_string(kLongestCandidate) + " characters");
    }
}

void checkCandidate(const std::string& text) {
    checkCandidateLine(stringMember(parseObject(text, "candidate"), "candidate", "candidate"));
}

}  // namespace zelrtc::camera
