#include "text/candidate_json.h"

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <cstring>
#include <new>

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

STATUS readCandidate(std::string_view text, PRtcIceCandidateInit candidate) {
    if (isBareLine(text)) {
        return kStatusCandidateNotAnObject;
    }
    const nlohmann::json object = readJson(text);
    if (object.is_discarded() || object.empty()) {
        return kStatusJsonUnreadable;
    }
    if (!object.is_object()) {
        return kStatusCandidateNotAnObject;
    }
    const std::string line = stringMember(object, "candidate").value_or("");
    if (line.empty()) {
        return kStatusCandidateMissing;
    }
    fillRecord(line, candidate);
    return STATUS_SUCCESS;
}

}  // namespace

std::string writeCandidateJson(const std::string& candidateLine, const std::string& mid, unsigned int mLineIndex) {
    return R"({"candidate":")" + escapeJson(candidateLine) + R"(","sdpMid":")" + escapeJson(mid) +
           R"(","sdpMLineIndex":)" + std::to_string(mLineIndex) + "}";
}

}  // namespace zelrtc::hostsdk

STATUS deserializeRtcIceCandidateInit(PCHAR json, UINT32 length, PRtcIceCandidateInit candidate) {
    if (json == nullptr || candidate == nullptr) {
        return STATUS_NULL_ARG;
    }
    try {
        return zelrtc::hostsdk::readCandidate(std::string_view(json, length), candidate);
    } catch (const std::bad_alloc&) {
        return STATUS_NOT_ENOUGH_MEMORY;
    }
}
