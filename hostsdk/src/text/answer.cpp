#include "text/answer.h"

#include <sstream>

namespace zelrtc::hostsdk {

namespace {

constexpr const char* kDefaultProfileLevelId = "42e01f";

bool contains(const std::string& line, const char* text) {
    return line.find(text) != std::string::npos;
}

bool isTransportWideFeedback(const std::string& line) {
    return (line.rfind("a=rtcp-fb:", 0) == 0 && contains(line, "transport-cc")) ||
           (line.rfind("a=extmap:", 0) == 0 && contains(line, "transport-wide-cc"));
}

std::string withProfile(const std::string& line, const std::vector<AnsweredFormat>& formats) {
    for (const AnsweredFormat& format : formats) {
        const std::string prefix = "a=fmtp:" + std::to_string(format.payloadType) + " ";
        if (line.rfind(prefix, 0) == 0 && !contains(line, "profile-level-id")) {
            return line + ";profile-level-id=" +
                   (format.profileLevelId.empty() ? kDefaultProfileLevelId : format.profileLevelId);
        }
    }
    return line;
}

}  // namespace

std::string completeAnswer(const std::string& sdp, const std::vector<AnsweredFormat>& formats) {
    std::istringstream lines(sdp);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (!isTransportWideFeedback(line)) {
            result += withProfile(line, formats) + "\r\n";
        }
    }
    return result;
}

}  // namespace zelrtc::hostsdk
