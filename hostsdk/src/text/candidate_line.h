// Candidate lines in SDP (RFC 8839, section 5.1).
#ifndef HOSTSDK_SRC_TEXT_CANDIDATE_LINE_H
#define HOSTSDK_SRC_TEXT_CANDIDATE_LINE_H

#include <optional>
#include <string>

namespace zelrtc::hostsdk {

// The far end's line in the ICE agent's form. Nothing for lines to ignore: not a candidate, TCP, or without a numeric
// address (`.local` names need a resolver that cameras do not have).
std::optional<std::string> usableCandidate(const std::string& line);

// The agent's line with the attributes that the SDK appends.
std::string sdkCandidate(const std::string& line);

}  // namespace zelrtc::hostsdk

#endif
