#include "text/offer.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace zelrtc::hostsdk {

namespace {

constexpr int kUnsuitable = 100;
constexpr long kMaxPayloadType = 127;

bool startsWith(const std::string& text, const char* prefix) {
    return text.rfind(prefix, 0) == 0;
}

bool equalsIgnoringCase(const std::string& left, const char* right) {
    return strcasecmp(left.c_str(), right) == 0;
}

std::vector<std::string> splitLines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        lines.push_back(line);
    }
    return lines;
}

// -1, which no payload type is, if the text does not start with a number.
int readPayloadType(const char* text) {
    char* end = nullptr;
    const long number = std::strtol(text, &end, 10);
    return end == text || number < 0 || number > kMaxPayloadType ? -1 : static_cast<int>(number);
}

// Static payload types (RFC 3551), which need no rtpmap.
std::string staticEncoding(int payloadType) {
    return payloadType == 0 ? "PCMU/8000" : "";
}

// "m=video 9 UDP/TLS/RTP/SAVPF 96 97"
OfferedMedia parseMediaLine(const std::string& line) {
    std::istringstream words(line.substr(2));
    OfferedMedia media;
    std::string port;
    std::string protocol;
    words >> media.kind >> port >> protocol;
    media.rejected = port == "0";
    for (std::string word; words >> word;) {
        const int payloadType = readPayloadType(word.c_str());
        if (payloadType >= 0) {
            media.formats.push_back({payloadType, staticEncoding(payloadType), ""});
        }
    }
    return media;
}

std::optional<RTC_RTP_TRANSCEIVER_DIRECTION> parseDirection(const std::string& line) {
    if (line == "a=sendrecv") {
        return RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV;
    }
    if (line == "a=sendonly") {
        return RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY;
    }
    if (line == "a=recvonly") {
        return RTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY;
    }
    if (line == "a=inactive") {
        return RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE;
    }
    return std::nullopt;
}

// Splits "a=rtpmap:96 H264/90000" or "a=fmtp:96 packetization-mode=1" into the format and its text.
PayloadFormat* findFormat(const std::string& line, OfferedMedia* media, std::string* text) {
    const size_t colon = line.find(':');
    const size_t space = line.find(' ');
    if (colon == std::string::npos || space == std::string::npos) {
        return nullptr;
    }
    const int payloadType = readPayloadType(line.c_str() + colon + 1);
    *text = line.substr(space + 1);
    const auto format =
        std::find_if(media->formats.begin(), media->formats.end(),
                     [payloadType](const PayloadFormat& candidate) { return candidate.payloadType == payloadType; });
    return format == media->formats.end() ? nullptr : &*format;
}

void readAttribute(const std::string& line, OfferedMedia* media) {
    std::string text;
    if (line == "a=bundle-only") {
        // In a bundle-only section the port is 0 until the answer accepts the bundle (RFC 9143).
        media->rejected = false;
    } else if (startsWith(line, "a=mid:")) {
        media->mid = line.substr(sizeof("a=mid:") - 1);
    } else if (startsWith(line, "a=rtpmap:")) {
        if (PayloadFormat* const format = findFormat(line, media, &text)) {
            format->encoding = text;
        }
    } else if (startsWith(line, "a=fmtp:")) {
        if (PayloadFormat* const format = findFormat(line, media, &text)) {
            format->parameters = text;
        }
    } else {
        media->direction = parseDirection(line).value_or(media->direction);
    }
}

std::string parameter(const std::string& parameters, const char* name) {
    std::istringstream stream(parameters);
    for (std::string entry; std::getline(stream, entry, ';');) {
        const size_t start = entry.find_first_not_of(' ');
        const size_t equals = entry.find('=');
        if (start != std::string::npos && equals != std::string::npos &&
            equalsIgnoringCase(entry.substr(start, equals - start), name)) {
            return entry.substr(equals + 1);
        }
    }
    return "";
}

// Lower is better. A decoder for a higher profile also decodes the baseline that cameras send.
int rankH264(const PayloadFormat& format) {
    if (!equalsIgnoringCase(format.encoding, "H264/90000") ||
        parameter(format.parameters, "packetization-mode") != "1") {
        return kUnsuitable;
    }
    const std::string profile = profileLevelId(format.parameters).substr(0, 4);
    if (equalsIgnoringCase(profile, "42e0") || equalsIgnoringCase(profile, "42c0")) {
        return 0;
    }
    return profile.empty() || startsWith(profile, "42") ? 1 : 2;
}

int rankMulaw(const PayloadFormat& format) {
    const bool isMulaw =
        equalsIgnoringCase(format.encoding, "PCMU/8000") || equalsIgnoringCase(format.encoding, "PCMU/8000/1");
    return isMulaw ? 0 : kUnsuitable;
}

int rank(const PayloadFormat& format, RTC_CODEC codec) {
    return codec == RTC_CODEC_MULAW ? rankMulaw(format) : rankH264(format);
}

bool isSending(RTC_RTP_TRANSCEIVER_DIRECTION direction) {
    return direction == RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV || direction == RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY;
}

bool isReceiving(RTC_RTP_TRANSCEIVER_DIRECTION direction) {
    return direction == RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV || direction == RTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY;
}

}  // namespace

std::vector<OfferedMedia> parseOffer(const std::string& sdp) {
    std::vector<OfferedMedia> media;
    if (!startsWith(sdp, "v=0")) {
        return media;
    }
    RTC_RTP_TRANSCEIVER_DIRECTION sessionDirection = RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV;
    for (const std::string& line : splitLines(sdp)) {
        if (startsWith(line, "m=")) {
            media.push_back(parseMediaLine(line));
            media.back().direction = sessionDirection;
        } else if (media.empty()) {
            sessionDirection = parseDirection(line).value_or(sessionDirection);
        } else {
            readAttribute(line, &media.back());
        }
    }
    return media;
}

std::optional<PayloadFormat> chooseFormat(const OfferedMedia& media, RTC_CODEC codec) {
    const auto best = std::min_element(media.formats.begin(), media.formats.end(),
                                       [codec](const PayloadFormat& left, const PayloadFormat& right) {
                                           return rank(left, codec) < rank(right, codec);
                                       });
    if (best == media.formats.end() || rank(*best, codec) == kUnsuitable) {
        return std::nullopt;
    }
    return *best;
}

std::string profileLevelId(const std::string& parameters) {
    return parameter(parameters, "profile-level-id");
}

RTC_RTP_TRANSCEIVER_DIRECTION answerDirection(RTC_RTP_TRANSCEIVER_DIRECTION offered,
                                              RTC_RTP_TRANSCEIVER_DIRECTION own) {
    const bool sends = isReceiving(offered) && isSending(own);
    const bool receives = isSending(offered) && isReceiving(own);
    if (sends) {
        return receives ? RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV : RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY;
    }
    return receives ? RTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY : RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE;
}

}  // namespace zelrtc::hostsdk
