#include "text/candidate_line.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <sstream>
#include <vector>

namespace zelrtc::hostsdk {

namespace {

enum Field { kFoundation, kComponent, kTransport, kPriority, kAddress, kPort, kTyp, kType, kFieldCount };

std::vector<std::string> splitWords(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
    return text;
}

bool isNumber(const std::string& text, unsigned long long maximum) {
    constexpr size_t kLongest = 10;
    if (text.empty() || text.size() > kLongest || text.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    return std::stoull(text) <= maximum;
}

bool isNumericAddress(const std::string& address) {
    in6_addr parsed{};
    return inet_pton(AF_INET, address.c_str(), &parsed) == 1 || inet_pton(AF_INET6, address.c_str(), &parsed) == 1;
}

bool isUsable(const std::vector<std::string>& words) {
    return words.size() >= kFieldCount && isNumber(words[kComponent], 256) && lowerCase(words[kTransport]) == "udp" &&
           isNumber(words[kPriority], 0xffffffffULL) && isNumericAddress(words[kAddress]) &&
           isNumber(words[kPort], 0xffffULL) && words[kTyp] == "typ";
}

bool contains(const std::vector<std::string>& words, const char* word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

}  // namespace

std::optional<std::string> usableCandidate(const std::string& line) {
    const std::string candidate = line.compare(0, 2, "a=") == 0 ? line.substr(2) : line;
    if (candidate.compare(0, sizeof("candidate:") - 1, "candidate:") != 0 || !isUsable(splitWords(candidate))) {
        return std::nullopt;
    }
    return candidate;
}

bool isRelayCandidate(const std::string& line) {
    const std::vector<std::string> words = splitWords(line);
    return words.size() >= kFieldCount && words[kTyp] == "typ" && words[kType] == "relay" &&
           words[0].find("candidate:") != std::string::npos;
}

std::string withoutExcessRelays(const std::string& sdp) {
    std::istringstream lines(sdp);
    std::string result;
    size_t relays = 0;
    for (std::string line; std::getline(lines, line);) {
        relays += isRelayCandidate(line) ? 1 : 0;
        if (!isRelayCandidate(line) || relays <= kMostRelayCandidates) {
            result += line + "\n";
        }
    }
    return result;
}

std::string sdkCandidate(const std::string& line) {
    std::vector<std::string> words = splitWords(line);
    if (words.size() < kFieldCount) {
        return line;
    }
    words[kTransport] = lowerCase(words[kTransport]);
    if (!contains(words, "raddr")) {
        words.insert(words.begin() + kFieldCount, {"raddr", "0.0.0.0", "rport", "0"});
    }
    std::string result;
    for (const std::string& word : words) {
        result += word + " ";
    }
    return result + "generation 0 network-cost 999";
}

}  // namespace zelrtc::hostsdk
