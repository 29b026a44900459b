#include "text/candidate_json.h"

#include <algorithm>
#include <cstring>

#include "text/json_text.h"
#include "text/status.h"

namespace zelrtc::hostsdk {

namespace {

bool isBareLine(std::string_view text) {
    return text.find("candidate:") == 0 || text.find("a=candidate:") == 0;
}

// A line that fills the record is left without a terminator, as the SDK leaves it, so that callers meet the same
// danger. Where the SDK would write a longer line past the end, this stops.
void fillRecord(const std::string& line, PRtcIceCandidateInit candidate) {
    const size_t length = std::min(line.size() + 1, sizeof(candidate->candidate));
    std::memcpy(candidate->candidate, line.c_str(), length);
}

}  // namespace

STATUS readCandidateJson(std::string_view json, PRtcIceCandidateInit candidate) {
    if (isBareLine(json)) {
        return kStatusCandidateNotAnObject;
    }
    const nlohmann::json object = readJson(json);
    if (object.is_discarded() || object.empty()) {
        return kStatusJsonUnreadable;
    }
    if (!object.is_object()) {
        return kStatusCandidateNotAnObject;
    }
    if (stringMember(object, "candidate").value_or("").empty()) {
        return kStatusCandidateMissing;
    }
    fillRecord(withLineEnds(escapedMember(json, "candidate")), candidate);
    return STATUS_SUCCESS;
}

std::string writeCandidateJson(const std::string& candidateLine, const std::string& mid, unsigned int mLineIndex) {
    return R"({"candidate":")" + escapeJson(candidateLine) + R"(","sdpMid":")" + escapeJson(mid) +
           R"(","sdpMLineIndex":)" + std::to_string(mLineIndex) + "}";
}

}  // namespace zelrtc::hostsdk
