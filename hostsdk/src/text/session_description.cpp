#include "text/session_description.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace zelrtc::hostsdk {

namespace {

constexpr size_t kMostSections = 64;
constexpr int kHighestPort = 65535;
// Enough to see which line an error is about.
constexpr size_t kLongestQuotation = 40;

std::string quote(const std::string& line) {
    std::string text = line.substr(0, kLongestQuotation);
    std::replace_if(
        text.begin(), text.end(), [](char character) { return character < ' ' || character > '~'; }, '?');
    return "\"" + text + (line.size() > kLongestQuotation ? "...\"" : "\"");
}

bool isBlankAt(const std::string& line, size_t position) {
    return line[position] == ' ' || line[position] == '\t' || line[position] == '\r';
}

std::string withoutTrailingBlanks(std::string line) {
    while (!line.empty() && isBlankAt(line, line.size() - 1)) {
        line.pop_back();
    }
    return line;
}

bool hasControlCharacter(const std::string& line) {
    return std::any_of(line.begin(), line.end(), [](unsigned char character) {
        return (character < ' ' && character != '\t') || character == 0x7f;
    });
}

// "9" or "9/2": the number of ports says nothing here.
std::optional<int> readPort(const std::string& word) {
    const std::string digits = word.substr(0, word.find('/'));
    if (digits.empty() || digits.size() > 5 || digits.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    const int port = std::stoi(digits);
    return port > kHighestPort ? std::nullopt : std::optional<int>(port);
}

class Reader {
public:
    // What is wrong with the line; empty when nothing is.
    std::string read(const std::string& line, size_t number);

    SessionDescription take() {
        return std::move(description_);
    }

private:
    std::string readMedia(const std::string& line, size_t number);
    std::string readAttribute(const std::string& text);

    SessionDescription description_;
    bool hasVersion_ = false;
};

std::string Reader::read(const std::string& line, size_t number) {
    if (!hasVersion_) {
        hasVersion_ = line == "v=0";
        return hasVersion_ ? "" : "it does not begin with v=0";
    }
    if (line.empty()) {
        return "";
    }
    if (hasControlCharacter(line)) {
        return "a control character stands in it";
    }
    if (line.size() < 2 || line[0] < 'a' || line[0] > 'z' || line[1] != '=') {
        return "it is not a letter, an equals sign and a value";
    }
    if (line[0] == 'm') {
        return readMedia(line, number);
    }
    return line[0] == 'a' ? readAttribute(line.substr(2)) : "";
}

// "m=video 9 UDP/TLS/RTP/SAVPF 96 97"
std::string Reader::readMedia(const std::string& line, size_t number) {
    const std::vector<std::string> words = splitWords(line.substr(2));
    if (words.size() < 4) {
        return "an m-line has four fields: medium, port, protocol and formats";
    }
    const std::optional<int> port = readPort(words[1]);
    if (!port) {
        return "its port is not a number up to 65535";
    }
    if (description_.sections.size() == kMostSections) {
        return "it is one m-line too many";
    }
    Section section;
    section.line = number;
    section.kind = words[0];
    section.port = *port;
    section.protocol = words[2];
    section.formats.assign(words.begin() + 3, words.end());
    description_.sections.push_back(std::move(section));
    return "";
}

std::string Reader::readAttribute(const std::string& text) {
    const size_t colon = text.find(':');
    const std::string name = text.substr(0, colon);
    if (name.empty()) {
        return "the attribute has no name";
    }
    Attributes& attributes =
        description_.sections.empty() ? description_.session : description_.sections.back().attributes;
    attributes.add(name, colon == std::string::npos ? "" : text.substr(colon + 1));
    return "";
}

}  // namespace

void Attributes::add(const std::string& name, const std::string& value) {
    list_.push_back({name, value});
}

bool Attributes::has(const std::string& name) const {
    return value(name).has_value();
}

std::optional<std::string> Attributes::value(const std::string& name) const {
    const auto found =
        std::find_if(list_.begin(), list_.end(), [&name](const Attribute& entry) { return entry.name == name; });
    return found == list_.end() ? std::nullopt : std::optional<std::string>(found->value);
}

std::vector<std::string> Attributes::values(const std::string& name) const {
    std::vector<std::string> found;
    for (const Attribute& entry : list_) {
        if (entry.name == name) {
            found.push_back(entry.value);
        }
    }
    return found;
}

std::string Section::name() const {
    return "m=" + kind + " in line " + std::to_string(line);
}

std::optional<std::string> SessionDescription::inherited(const Section& section, const std::string& name) const {
    const std::optional<std::string> own = section.attributes.value(name);
    return own ? own : session.value(name);
}

std::optional<SessionDescription> parseDescription(const std::string& sdp, std::string* error) {
    Reader reader;
    std::istringstream lines(sdp);
    size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        number++;
        const std::string text = withoutTrailingBlanks(line);
        const std::string problem = reader.read(text, number);
        if (!problem.empty()) {
            *error = "line " + std::to_string(number) + ", " + quote(text) + ": " + problem;
            return std::nullopt;
        }
    }
    SessionDescription description = reader.take();
    if (description.sections.empty()) {
        *error = "it has no m-line";
        return std::nullopt;
    }
    return description;
}

std::vector<std::string> splitWords(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

}  // namespace zelrtc::hostsdk
