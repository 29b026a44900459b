#include "text/offered_transport.h"

#include <algorithm>
#include <cctype>

#include "text/candidate_line.h"

namespace zelrtc::hostsdk {

namespace {

constexpr size_t kLongestIceText = 256;
constexpr size_t kShortestUser = 4;
constexpr size_t kShortestPassword = 22;

bool isIceText(const std::string& text, size_t shortest) {
    return text.size() >= shortest && text.size() <= kLongestIceText &&
           std::all_of(text.begin(), text.end(), [](unsigned char character) {
               return std::isalnum(character) != 0 || character == '+' || character == '/' || character == '-' ||
                      character == '_';
           });
}

bool isHexPair(const std::string& text, size_t position) {
    return std::isxdigit(static_cast<unsigned char>(text[position])) != 0 &&
           std::isxdigit(static_cast<unsigned char>(text[position + 1])) != 0;
}

// "sha-256 7B:8D:..."
bool isFingerprint(const std::string& value) {
    const std::vector<std::string> words = splitWords(value);
    if (words.size() != 2 || words[1].size() % 3 != 2) {
        return false;
    }
    const std::string& digest = words[1];
    for (size_t position = 0; position < digest.size(); position += 3) {
        const bool isLast = position + 2 == digest.size();
        if (!isHexPair(digest, position) || (!isLast && digest[position + 2] != ':')) {
            return false;
        }
    }
    return true;
}

std::vector<std::string> inheritedValues(const SessionDescription& offer, const Section& section,
                                         const std::string& name) {
    std::vector<std::string> own = section.attributes.values(name);
    return own.empty() ? offer.session.values(name) : own;
}

// Of several that describe one certificate (RFC 8122) the one that every far end can check.
std::optional<std::string> bestFingerprint(const std::vector<std::string>& values) {
    const auto isSha256 = [](const std::string& value) { return value.compare(0, 8, "sha-256 ") == 0; };
    const auto best = std::find_if(values.begin(), values.end(), isSha256);
    const std::string found = best != values.end() ? *best : (values.empty() ? "" : values.front());
    return isFingerprint(found) ? std::optional<std::string>(found) : std::nullopt;
}

bool isRole(const std::string& setup) {
    return setup == "actpass" || setup == "active" || setup == "passive";
}

std::vector<std::string> usableCandidates(const Section& section) {
    std::vector<std::string> usable;
    for (const std::string& value : section.attributes.values("candidate")) {
        if (const std::optional<std::string> candidate = usableCandidate("candidate:" + value)) {
            usable.push_back(*candidate);
        }
    }
    return usable;
}

std::optional<size_t> sectionCalled(const SessionDescription& offer, const std::string& mid) {
    for (size_t i = 0; i < offer.sections.size(); i++) {
        if (offer.sections[i].attributes.value("mid") == mid) {
            return i;
        }
    }
    return std::nullopt;
}

std::string faultOf(const Transport& transport, const std::optional<std::string>& fingerprint) {
    if (!isIceText(transport.user, kShortestUser)) {
        return "a=ice-ufrag is missing or is not 4 to 256 letters and digits";
    }
    if (!isIceText(transport.password, kShortestPassword)) {
        return "a=ice-pwd is missing or is not 22 to 256 letters and digits";
    }
    if (!fingerprint) {
        return "a=fingerprint is missing or is not a hash function and pairs of digits";
    }
    return isRole(transport.setup) ? "" : "a=setup is none of actpass, active and passive";
}

}  // namespace

std::vector<std::vector<size_t>> bundleGroups(const SessionDescription& offer) {
    std::vector<std::vector<size_t>> groups;
    std::vector<bool> isTaken(offer.sections.size(), false);
    for (const std::string& value : offer.session.values("group")) {
        const std::vector<std::string> words = splitWords(value);
        if (words.empty() || words[0] != "BUNDLE") {
            continue;
        }
        groups.emplace_back();
        for (size_t i = 1; i < words.size(); i++) {
            const std::optional<size_t> section = sectionCalled(offer, words[i]);
            if (section && !isTaken[*section]) {
                isTaken[*section] = true;
                groups.back().push_back(*section);
            }
        }
    }
    return groups;
}

bool isBundleOnly(const Section& section) {
    return section.port == 0 && section.attributes.has("bundle-only");
}

std::string checkMids(const SessionDescription& offer) {
    for (size_t i = 0; i < offer.sections.size(); i++) {
        const std::optional<std::string> mid = offer.sections[i].attributes.value("mid");
        if (!mid) {
            continue;
        }
        if (mid->empty() || mid->find_first_of(" \t") != std::string::npos) {
            return offer.sections[i].name() + ": a=mid is not one word";
        }
        if (*sectionCalled(offer, *mid) != i) {
            return offer.sections[i].name() + ": another section has the same a=mid";
        }
    }
    return "";
}

std::optional<Transport> transportOf(const SessionDescription& offer, size_t section, std::string* error) {
    const Section& offered = offer.sections[section];
    Transport transport;
    transport.user = offer.inherited(offered, "ice-ufrag").value_or("");
    transport.password = offer.inherited(offered, "ice-pwd").value_or("");
    // Without a role the one who offers is active (RFC 4145).
    transport.setup = offer.inherited(offered, "setup").value_or("active");
    transport.candidates = usableCandidates(offered);
    transport.section = section;
    const std::optional<std::string> fingerprint = bestFingerprint(inheritedValues(offer, offered, "fingerprint"));
    const std::string fault = faultOf(transport, fingerprint);
    if (!fault.empty()) {
        *error = offered.name() + ": " + fault;
        return std::nullopt;
    }
    transport.fingerprint = *fingerprint;
    return transport;
}

}  // namespace zelrtc::hostsdk
