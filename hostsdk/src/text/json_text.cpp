#include "text/json_text.h"

#include <cstdio>

namespace zelrtc::hostsdk {

namespace {

// The position after the string that starts with the quote at `position`.
size_t endOfString(std::string_view text, size_t position) {
    for (position++; position < text.size() && text[position] != '"'; position++) {
        if (text[position] == '\\') {
            position++;
        }
    }
    return position + 1;
}

bool isKey(std::string_view text, size_t afterString) {
    const size_t next = text.find_first_not_of(" \t\r\n", afterString);
    return next != std::string_view::npos && text[next] == ':';
}

std::string escapeCharacter(char character) {
    switch (character) {
        case '"':
            return "\\\"";
        case '\\':
            return "\\\\";
        case '\r':
            return "\\r";
        case '\n':
            return "\\n";
        case '\t':
            return "\\t";
        default:
            break;
    }
    if (static_cast<unsigned char>(character) >= 0x20) {
        return std::string(1, character);
    }
    char escaped[sizeof("\\u0000")];
    snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned int>(character));
    return escaped;
}

}  // namespace

nlohmann::json readJson(std::string_view text) {
    return nlohmann::json::parse(text.begin(), text.end(), nullptr, false);
}

std::optional<std::string> stringMember(const nlohmann::json& object, const char* name) {
    const auto member = object.find(name);
    if (member == object.end() || !member->is_string()) {
        return std::nullopt;
    }
    return member->get<std::string>();
}

std::string_view escapedMember(std::string_view text, std::string_view name) {
    std::string_view value;
    int depth = 0;
    bool wanted = false;
    for (size_t position = 0; position < text.size();) {
        const char character = text[position];
        if (character != '"') {
            depth += character == '{' || character == '[' ? 1 : 0;
            depth -= character == '}' || character == ']' ? 1 : 0;
            position++;
            continue;
        }
        const size_t end = endOfString(text, position);
        const std::string_view content = text.substr(position + 1, end - position - 2);
        if (depth == 1 && isKey(text, end)) {
            wanted = content == name;
        } else if (depth == 1 && wanted) {
            value = content;
        }
        position = end;
    }
    return value;
}

std::string withLineEnds(std::string_view escaped) {
    std::string result;
    for (size_t position = 0; position < escaped.size(); position++) {
        if (escaped[position] != '\\' || position + 1 == escaped.size()) {
            result += escaped[position];
            continue;
        }
        const char code = escaped[++position];
        if (code == 'r' || code == 'n') {
            result += code == 'r' ? '\r' : '\n';
        } else {
            result += {'\\', code};
        }
    }
    return result;
}

std::string withoutRawLineEnds(std::string_view text) {
    std::string result;
    for (size_t position = 0; position < text.size();) {
        if (text[position] != '"') {
            result += text[position++];
            continue;
        }
        const size_t end = std::min(endOfString(text, position), text.size());
        for (; position < end; position++) {
            if (text[position] != '\r' && text[position] != '\n') {
                result += text[position];
            }
        }
    }
    return result;
}

std::string escapeJson(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 16);
    for (const char character : text) {
        escaped += escapeCharacter(character);
    }
    return escaped;
}

}  // namespace zelrtc::hostsdk
