#include "signalling/trickle_fragment.h"

#include <algorithm>
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

}  // namespace

std::vector<TrickledCandidate> candidatesOfFragment(const std::string& fragment) {
    std::vector<TrickledCandidate> candidates;
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
            candidates.push_back({"candidate:" + line, mid, std::max(mediaIndex, 0)});
        }
    }
    return candidates;
}

}  // namespace zelrtc::camera
