/** @file candidate_line.h Candidate lines as SDP writes them (RFC 8839, section 5.1). */
#ifndef HOSTSDK_SRC_TEXT_CANDIDATE_LINE_H
#define HOSTSDK_SRC_TEXT_CANDIDATE_LINE_H

#include <optional>
#include <string>

namespace zelrtc::hostsdk {

// The far end's line in the ICE agent's form. Nothing for lines to ignore: not a candidate, TCP, or without a numeric
// address (`.local` names need a resolver that cameras do not have).
std::optional<std::string> usableCandidate(const std::string& line);

// The agent's line as RFC 8839 has it: an address that a candidate was made from for all but host candidates.
std::string standardCandidate(const std::string& line);

// The ICE user that the line names as an extension; empty when it names none.
std::string candidateUser(const std::string& line);

// The SDK's limit for one connection, however many relays are configured.
constexpr size_t kMostRelayCandidates = 4;

// Of a relay, in a candidate line or in a description's a= line.
bool isRelayCandidate(const std::string& line);

// The agent's line with the attributes that the SDK appends.
std::string sdkCandidate(const std::string& line);

}  // namespace zelrtc::hostsdk

#endif
