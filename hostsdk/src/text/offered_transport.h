/**
 * @file offered_transport.h The transports that an offer offers: its BUNDLE groups, and the far end's side of ICE and
 * DTLS.
 */
#ifndef HOSTSDK_SRC_TEXT_OFFERED_TRANSPORT_H
#define HOSTSDK_SRC_TEXT_OFFERED_TRANSPORT_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "text/session_description.h"

namespace zelrtc::hostsdk {

// The far end's side of a transport.
struct Transport {
    std::string user;
    std::string password;
    std::string fingerprint;
    std::string setup;
    std::vector<std::string> candidates;  // "candidate:...": only those that can be used
    // The one that stands for it in the answer: the first of its group.
    size_t section = 0;
};

// The BUNDLE groups (RFC 9143) as indexes of sections, in the order in which the offer names them. What a group names
// twice, or what no section is called, is left out.
std::vector<std::vector<size_t>> bundleGroups(const SessionDescription& offer);

// Whether port 0 means that the section waits for its group, not that it is rejected.
bool isBundleOnly(const Section& section);

// What is wrong with the sections' mids, which must be tokens and each another (RFC 5888); empty when nothing is.
std::string checkMids(const SessionDescription& offer);

// Of one section. Nothing when ICE or DTLS cannot go by it; `error` then names the attribute.
std::optional<Transport> transportOf(const SessionDescription& offer, size_t section, std::string* error);

}  // namespace zelrtc::hostsdk

#endif
