#include "text/payload_format.h"

#include <strings.h>

#include <algorithm>
#include <sstream>

namespace zelrtc::hostsdk {

namespace {

constexpr int kUnsuitable = 100;
constexpr const char* kDefaultProfileLevelId = "42e01f";

bool equalsIgnoringCase(const std::string& left, const char* right) {
    return strcasecmp(left.c_str(), right) == 0;
}

// Nothing for what is no payload type, and for 64 to 95, which look like RTCP on a shared port.
std::optional<int> readPayloadType(const std::string& word) {
    if (word.empty() || word.size() > 3 || word.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    const int number = std::stoi(word);
    return number > 127 || (number >= 64 && number <= 95) ? std::nullopt : std::optional<int>(number);
}

// Of the first "96 text" among the values.
std::string textFor(const std::string& payloadType, const std::vector<std::string>& values) {
    for (const std::string& value : values) {
        const size_t space = value.find(' ');
        const size_t start = value.find_first_not_of(' ', space);
        if (value.substr(0, space) == payloadType && start != std::string::npos) {
            return value.substr(start);
        }
    }
    return "";
}

std::string parameter(const std::string& parameters, const char* name) {
    std::istringstream stream(parameters);
    for (std::string entry; std::getline(stream, entry, ';');) {
        const std::vector<std::string> words = splitWords(entry);
        const std::string text = words.empty() ? "" : words[0];
        const size_t equals = text.find('=');
        if (equals != std::string::npos && equalsIgnoringCase(text.substr(0, equals), name)) {
            return text.substr(equals + 1);
        }
    }
    return "";
}

bool isH264(const PayloadFormat& format) {
    return equalsIgnoringCase(format.encoding, "H264/90000");
}

// Lower is better. A decoder of a higher profile also decodes the baseline that cameras send.
int rankH264(const PayloadFormat& format) {
    if (!isH264(format) || parameter(format.parameters, "packetization-mode") != "1") {
        return kUnsuitable;
    }
    const std::string profile = parameter(format.parameters, "profile-level-id").substr(0, 4);
    if (equalsIgnoringCase(profile, "42e0") || equalsIgnoringCase(profile, "42c0")) {
        return 0;
    }
    return profile.empty() || profile.compare(0, 2, "42") == 0 ? 1 : 2;
}

int rank(const PayloadFormat& format, RTC_CODEC codec) {
    if (codec != RTC_CODEC_MULAW) {
        return rankH264(format);
    }
    const bool isMulaw =
        equalsIgnoringCase(format.encoding, "PCMU/8000") || equalsIgnoringCase(format.encoding, "PCMU/8000/1");
    return isMulaw ? 0 : kUnsuitable;
}

std::string whyNone(const std::vector<PayloadFormat>& formats, RTC_CODEC codec) {
    if (codec == RTC_CODEC_MULAW) {
        return "it has no mu-law (PCMU/8000)";
    }
    const bool hasH264 = std::any_of(formats.begin(), formats.end(), isH264);
    return hasH264 ? "it has H.264 only without packetization-mode=1" : "it has no H.264";
}

}  // namespace

std::vector<PayloadFormat> payloadFormats(const Section& section) {
    const std::vector<std::string> encodings = section.attributes.values("rtpmap");
    const std::vector<std::string> parameters = section.attributes.values("fmtp");
    std::vector<PayloadFormat> formats;
    for (const std::string& word : section.formats) {
        const std::optional<int> payloadType = readPayloadType(word);
        if (!payloadType) {
            continue;
        }
        PayloadFormat format{*payloadType, textFor(word, encodings), textFor(word, parameters)};
        if (format.encoding.empty() && *payloadType == 0) {
            format.encoding = "PCMU/8000";  // needs no rtpmap (RFC 3551)
        }
        formats.push_back(format);
    }
    return formats;
}

std::optional<PayloadFormat> chooseFormat(const Section& section, RTC_CODEC codec, std::string* reason) {
    const std::vector<PayloadFormat> formats = payloadFormats(section);
    const auto best = std::min_element(formats.begin(), formats.end(),
                                       [codec](const PayloadFormat& left, const PayloadFormat& right) {
                                           return rank(left, codec) < rank(right, codec);
                                       });
    if (best == formats.end() || rank(*best, codec) == kUnsuitable) {
        *reason = whyNone(formats, codec);
        return std::nullopt;
    }
    return *best;
}

std::string answeredParameters(const PayloadFormat& format, RTC_CODEC codec) {
    if (codec == RTC_CODEC_MULAW) {
        return "";
    }
    const bool isAsymmetric = parameter(format.parameters, "level-asymmetry-allowed") == "1";
    const std::string profile = parameter(format.parameters, "profile-level-id");
    return std::string(isAsymmetric ? "level-asymmetry-allowed=1;" : "") +
           "packetization-mode=1;profile-level-id=" + (profile.empty() ? kDefaultProfileLevelId : profile);
}

}  // namespace zelrtc::hostsdk
