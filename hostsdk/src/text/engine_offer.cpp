#include "text/engine_offer.h"

#include "text/media_direction.h"

namespace zelrtc::hostsdk {

namespace {

constexpr const char* kEnd = "\r\n";

// The far end's source, which tells the engine whose packets they are before it has seen their format.
std::string sourceLine(const PlannedSection& planned) {
    const std::vector<std::string> words = splitWords(planned.offered.attributes.value("ssrc").value_or(""));
    constexpr size_t kMostDigits = 10;
    if (!isReceiving(planned.direction) || words.empty() || words[0].size() > kMostDigits ||
        words[0].find_first_not_of("0123456789") != std::string::npos) {
        return "";
    }
    return "a=ssrc:" + words[0] + " cname:viewer" + kEnd;
}

std::string transportLines(const Transport& transport) {
    return "a=ice-ufrag:" + transport.user + kEnd + "a=ice-pwd:" + transport.password + kEnd +
           "a=fingerprint:" + transport.fingerprint + kEnd + "a=setup:" + transport.setup + kEnd;
}

std::string formatLines(const PlannedSection& planned) {
    const std::string payloadType = std::to_string(planned.format.payloadType);
    std::string text = "a=rtpmap:" + payloadType + " " + planned.format.encoding + kEnd;
    if (!planned.parameters.empty()) {
        text += "a=fmtp:" + payloadType + " " + planned.parameters + kEnd;
    }
    for (const std::string& feedback : planned.feedback) {
        text.append("a=rtcp-fb:").append(payloadType).append(" ").append(feedback).append(kEnd);
    }
    return text;
}

std::string sectionText(const AnswerPlan& plan, size_t line) {
    const PlannedSection& planned = plan.sections[plan.served[line]];
    const Transport& transport = plan.transportOfEngineLine(line);
    std::string text = "m=" + planned.offered.kind + " 9 UDP/TLS/RTP/SAVPF " +
                       std::to_string(planned.format.payloadType) + kEnd + "c=IN IP4 0.0.0.0" + kEnd +
                       transportLines(transport) + "a=mid:" + std::to_string(line) + kEnd + "a=rtcp-mux" + kEnd +
                       "a=" + directionName(oppositeDirection(planned.direction)) + kEnd + formatLines(planned) +
                       sourceLine(planned);
    if (line == 0 || !plan.isBundled()) {
        for (const std::string& candidate : transport.candidates) {
            text += "a=" + candidate + kEnd;
        }
    }
    return text;
}

}  // namespace

std::string engineOffer(const AnswerPlan& plan) {
    std::string text = std::string("v=0") + kEnd + "o=- 1 1 IN IP4 0.0.0.0" + kEnd + "s=-" + kEnd + "t=0 0" + kEnd;
    if (plan.isIceLite) {
        text += std::string("a=ice-lite") + kEnd;
    }
    std::string group;
    std::string sections;
    for (size_t line = 0; line < plan.served.size(); line++) {
        group += " " + std::to_string(line);
        sections += sectionText(plan, line);
    }
    if (plan.isBundled()) {
        text += "a=group:BUNDLE" + group + kEnd;
    }
    return text + sections;
}

}  // namespace zelrtc::hostsdk
