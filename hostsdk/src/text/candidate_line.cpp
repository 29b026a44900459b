#include "text/candidate_line.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <vector>

#include "text/session_description.h"

namespace zelrtc::hostsdk {

namespace {

enum Field { kFoundation, kComponent, kTransport, kPriority, kAddress, kPort, kTyp, kType, kFieldCount };

std::string joinWords(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += text.empty() ? word : " " + word;
    }
    return text;
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

std::string standardCandidate(const std::string& line) {
    std::vector<std::string> words = splitWords(line.compare(0, 2, "a=") == 0 ? line.substr(2) : line);
    if (words.size() < kFieldCount) {
        return line;
    }
    const auto related = std::find(words.begin() + kFieldCount, words.end(), "raddr");
    const bool hasRelated = words.end() - related >= 4;
    if (words[kType] == "host" && hasRelated) {
        words.erase(related, related + 4);
    } else if (words[kType] != "host" && !hasRelated) {
        words.insert(words.begin() + kFieldCount, {"raddr", "0.0.0.0", "rport", "0"});
    }
    return joinWords(words);
}

std::string candidateUser(const std::string& line) {
    const std::vector<std::string> words = splitWords(line);
    const auto name = std::find(words.begin(), words.end(), "ufrag");
    return words.end() - name < 2 ? "" : *(name + 1);
}

bool isRelayCandidate(const std::string& line) {
    const std::vector<std::string> words = splitWords(line);
    return words.size() >= kFieldCount && words[kTyp] == "typ" && words[kType] == "relay" &&
           words[0].find("candidate:") != std::string::npos;
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
    return joinWords(words) + " generation 0 network-cost 999";
}

}  // namespace zelrtc::hostsdk
