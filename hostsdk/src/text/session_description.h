/**
 * @file session_description.h A session description (RFC 8866) as this side reads it: its sections and their
 * attributes, in their order.
 */
#ifndef HOSTSDK_SRC_TEXT_SESSION_DESCRIPTION_H
#define HOSTSDK_SRC_TEXT_SESSION_DESCRIPTION_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zelrtc::hostsdk {

// "a=name:value", or "a=name" without a value. No white space stands at the value's end.
struct Attribute {
    std::string name;
    std::string value;
};

class Attributes {
public:
    void add(const std::string& name, const std::string& value);
    bool has(const std::string& name) const;
    // Of the first one with the name.
    std::optional<std::string> value(const std::string& name) const;
    std::vector<std::string> values(const std::string& name) const;

    const std::vector<Attribute>& list() const {
        return list_;
    }

private:
    std::vector<Attribute> list_;
};

struct Section {
    size_t line = 0;   // where its m-line stands, counted from 1
    std::string kind;  // "audio", "video", "application"
    int port = 0;
    std::string protocol;
    std::vector<std::string> formats;  // never empty
    Attributes attributes;

    // "m=video in line 5": how errors name it.
    std::string name() const;
};

struct SessionDescription {
    Attributes session;
    std::vector<Section> sections;

    // The section's own, or else the session's.
    std::optional<std::string> inherited(const Section& section, const std::string& name) const;
};

// Nothing when the text is no session description; `error` then names the line and what is wrong with it.
std::optional<SessionDescription> parseDescription(const std::string& sdp, std::string* error);

std::vector<std::string> splitWords(const std::string& text);

}  // namespace zelrtc::hostsdk

#endif
