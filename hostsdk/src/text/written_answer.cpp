#include "text/written_answer.h"

#include <algorithm>
#include <cctype>

#include "text/candidate_line.h"
#include "text/media_direction.h"

namespace zelrtc::hostsdk {

namespace {

// One section, line by line.
class Lines {
public:
    void add(const std::string& line) {
        text_ += line + "\r\n";
    }
    void addAttribute(const std::string& name, const std::string& value) {
        add("a=" + name + ":" + value);
    }
    const std::string& text() const {
        return text_;
    }

private:
    std::string text_;
};

// An identifier of RFC 8830; "-" is the name for no stream.
std::string msidToken(const std::string& name) {
    std::string token = name;
    std::replace_if(
        token.begin(), token.end(), [](unsigned char character) { return std::isgraph(character) == 0; }, '_');
    return token.empty() ? "-" : token;
}

std::string msid(const PlannedSection& planned) {
    return msidToken(planned.streamId) + " " + msidToken(planned.trackId);
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += " " + word;
    }
    return text;
}

void addMediaLine(const Section& offered, int port, const std::string& formats, Lines* lines) {
    lines->add("m=" + offered.kind + " " + std::to_string(port) + " " + offered.protocol + formats);
    lines->add("c=IN IP4 0.0.0.0");
    if (const std::optional<std::string> mid = offered.attributes.value("mid")) {
        lines->addAttribute("mid", *mid);
    }
}

void addTransport(const SessionDescription& engineAnswer, const Section& engine, Lines* lines) {
    for (const char* const name : {"ice-ufrag", "ice-pwd", "fingerprint", "setup"}) {
        if (const std::optional<std::string> value = engineAnswer.inherited(engine, name)) {
            lines->addAttribute(name, *value);
        }
    }
}

// The transport says nothing here, but some readers, such as webrtcbin, refuse a section that lacks it.
std::string rejectedSection(const Section& offered, const SessionDescription& engineAnswer) {
    Lines lines;
    addMediaLine(offered, 0, joined(offered.formats), &lines);
    addTransport(engineAnswer, engineAnswer.sections.front(), &lines);
    if (offered.kind != "application") {
        lines.add("a=inactive");
    }
    return lines.text();
}

void addMultiplexing(const Section& offered, Lines* lines) {
    for (const char* const name : {"rtcp-mux", "rtcp-rsize"}) {
        if (offered.attributes.has(name)) {
            lines->add(std::string("a=") + name);
        }
    }
}

void addFormat(const PlannedSection& planned, Lines* lines) {
    const std::string payloadType = std::to_string(planned.format.payloadType);
    lines->addAttribute("rtpmap", payloadType + " " + planned.format.encoding);
    if (!planned.parameters.empty()) {
        lines->addAttribute("fmtp", payloadType + " " + planned.parameters);
    }
    for (const std::string& feedback : planned.feedback) {
        lines->addAttribute("rtcp-fb", std::string(payloadType).append(" ").append(feedback));
    }
}

// "a=ssrc:7 cname:x" and the older form of the msid, which some viewers still read.
void addSource(const PlannedSection& planned, const Section& engine, Lines* lines) {
    for (const std::string& value : engine.attributes.values("ssrc")) {
        const std::vector<std::string> words = splitWords(value);
        if (words.size() > 1 && words[1].compare(0, 6, "cname:") == 0) {
            lines->addAttribute("ssrc", words[0] + " " + words[1]);
            lines->addAttribute("ssrc", words[0] + " msid:" + msid(planned));
        }
    }
}

void addCandidates(const AnswerPlan& plan, const LocalSide& local, size_t section, Lines* lines) {
    const size_t engineLine = plan.engineLineOf(section);
    if (plan.transportOfEngineLine(engineLine).section != section) {
        return;
    }
    for (const LocalCandidate& candidate : local.candidates) {
        if (plan.isBundled() || candidate.engineLine == engineLine) {
            lines->add("a=" + standardCandidate(candidate.line));
        }
    }
    if (local.hasAllCandidates) {
        lines->add("a=end-of-candidates");
    }
}

std::string acceptedSection(const AnswerPlan& plan, const LocalSide& local, size_t index) {
    const PlannedSection& planned = plan.sections[index];
    const Section& engine = local.engineAnswer.sections.at(plan.engineLineOf(index));
    Lines lines;
    addMediaLine(planned.offered, 9, " " + std::to_string(planned.format.payloadType), &lines);
    addTransport(local.engineAnswer, engine, &lines);
    addMultiplexing(planned.offered, &lines);
    lines.add(std::string("a=") + directionName(planned.direction));
    addFormat(planned, &lines);
    if (isSending(planned.direction)) {
        lines.addAttribute("msid", msid(planned));
        addSource(planned, engine, &lines);
    }
    addCandidates(plan, local, index, &lines);
    return lines.text();
}

std::string groupLine(const AnswerPlan& plan, const std::vector<size_t>& group) {
    std::string text = "BUNDLE";
    for (const size_t section : group) {
        text += " " + plan.sections[section].offered.attributes.value("mid").value_or("");
    }
    return text;
}

}  // namespace

std::string writeAnswer(const AnswerPlan& plan, const LocalSide& local) {
    Lines head;
    head.add("v=0");
    head.add("o=- " + std::to_string(local.sessionId) + " 1 IN IP4 0.0.0.0");
    head.add("s=-");
    head.add("t=0 0");
    for (const std::vector<size_t>& group : plan.groups) {
        head.addAttribute("group", groupLine(plan, group));
    }
    head.addAttribute("ice-options", "trickle");
    std::string text = head.text();
    for (size_t i = 0; i < plan.sections.size(); i++) {
        const PlannedSection& planned = plan.sections[i];
        text += planned.outcome == Outcome::kRejected ? rejectedSection(planned.offered, local.engineAnswer)
                                                      : acceptedSection(plan, local, i);
    }
    return text;
}

}  // namespace zelrtc::hostsdk
