/** @file candidate_json.h Candidates as JSON text. */
#ifndef HOSTSDK_SRC_TEXT_CANDIDATE_JSON_H
#define HOSTSDK_SRC_TEXT_CANDIDATE_JSON_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <string>
#include <string_view>

namespace zelrtc::hostsdk {

// Fills the record; untouched, with the SDK's status for what is wrong, when the text is no candidate. A line that
// fills the record is left without a terminator and a longer one is cut.
STATUS readCandidateJson(std::string_view json, PRtcIceCandidateInit candidate);

// The text passed to RtcOnIceCandidate, exactly as the SDK writes it.
std::string writeCandidateJson(const std::string& candidateLine, const std::string& mid, unsigned int mLineIndex);

}  // namespace zelrtc::hostsdk

#endif
