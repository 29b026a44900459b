#include "signalling/trickle_fragment.h"

#include <nlohmann/json.hpp>
#include <sstream>

namespace zelrtc::camera {

namespace {

bool removePrefix(std::string& line, const std::string& prefix) {
    if (line.compare(0, prefix.size(), prefix) != 0) {
        return false;
    }
    line.erase(0, prefix.size());
    return true;
}

std::string candidateJson(const std::string& candidate, const std::string& mid, int mediaIndex) {
    using nlohmann::json;
    return json{{"candidate", candidate}, {"sdpMid", mid}, {"sdpMLineIndex", mediaIndex}}.dump(
        -1, ' ', false, json::error_handler_t::replace);
}

}  // namespace

std::vector<std::string> candidatesOfFragment(const std::string& fragment) {
    std::vector<std::string> candidates;
    std::string mid = "0";
    int mediaIndex = -1;
    std::istringstream lines(fragment);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (removePrefix(line, "m=")) {
            ++mediaIndex;
        } else if (removePrefix(line, "a=mid:")) {
            mid = line;
        } else if (removePrefix(line, "a=candidate:")) {
            candidates.push_back(candidateJson("candidate:" + line, mid, mediaIndex < 0 ? 0 : mediaIndex));
        }
    }
    return candidates;
}

}  // namespace zelrtc::camera
