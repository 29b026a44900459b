// Candidates as JSON text.
#ifndef HOSTSDK_SRC_TEXT_CANDIDATE_JSON_H
#define HOSTSDK_SRC_TEXT_CANDIDATE_JSON_H

#include <string>

namespace zelrtc::hostsdk {

// The text passed to RtcOnIceCandidate, exactly as the SDK writes it.
std::string writeCandidateJson(const std::string& candidateLine, const std::string& mid, unsigned int mLineIndex);

}  // namespace zelrtc::hostsdk

#endif
