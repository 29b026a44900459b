#include "text/offer_rules.h"

#include <algorithm>
#include <sstream>

#include "text/status.h"

namespace zelrtc::hostsdk {

namespace {

constexpr int kMostSections = 5;
// The SDK refuses 300; a browser's longest section has about a hundred.
constexpr int kMostAttributes = 256;

bool startsWith(const std::string& text, const char* prefix) {
    return text.rfind(prefix, 0) == 0;
}

// What the rules look at.
struct Summary {
    int sections = 0;
    int attributes = 0;  // of the section that is being read
    int mostAttributes = 0;
    bool hasFingerprint = false;
    bool hasSectionUser = false;
    bool hasSectionPassword = false;
};

void readLine(const std::string& line, Summary* summary) {
    if (startsWith(line, "m=")) {
        summary->sections++;
        summary->attributes = 0;
    } else if (startsWith(line, "a=")) {
        summary->attributes++;
        summary->mostAttributes = std::max(summary->mostAttributes, summary->attributes);
    }
    const bool isInSection = summary->sections > 0;
    summary->hasFingerprint = summary->hasFingerprint || startsWith(line, "a=fingerprint:");
    summary->hasSectionUser = summary->hasSectionUser || (isInSection && startsWith(line, "a=ice-ufrag:"));
    summary->hasSectionPassword = summary->hasSectionPassword || (isInSection && startsWith(line, "a=ice-pwd:"));
}

}  // namespace

STATUS checkOffer(const std::string& sdp) {
    Summary summary;
    std::istringstream lines(sdp);
    for (std::string line; std::getline(lines, line);) {
        readLine(line, &summary);
    }
    if (summary.sections > kMostSections) {
        return STATUS_BUFFER_TOO_SMALL;
    }
    if (summary.mostAttributes > kMostAttributes) {
        return kStatusTooManyAttributes;
    }
    if (!summary.hasSectionUser || !summary.hasSectionPassword) {
        return kStatusSdpUnreadable;
    }
    return summary.hasFingerprint ? STATUS_SUCCESS : kStatusFingerprintMissing;
}

bool hasSessionName(const std::string& sdp) {
    std::istringstream lines(sdp);
    for (std::string line; std::getline(lines, line);) {
        if (startsWith(line, "s=")) {
            return line.find_first_not_of('\r', 2) != std::string::npos;
        }
    }
    return false;
}

}  // namespace zelrtc::hostsdk
