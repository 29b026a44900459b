/** @file json_text.h The little of JSON that descriptions and candidates need. */
#ifndef HOSTSDK_SRC_TEXT_JSON_TEXT_H
#define HOSTSDK_SRC_TEXT_JSON_TEXT_H

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace zelrtc::hostsdk {

// The parsed value, or a discarded one (is_discarded()) if the text is not JSON. Never throws.
nlohmann::json readJson(std::string_view text);

// The member's text; nothing if it is absent or not a string. `object` must be an object.
std::optional<std::string> stringMember(const nlohmann::json& object, const char* name);

// A string member of the outermost object, still escaped as in the text; empty if there is no such member.
// `text` must be valid JSON.
std::string_view escapedMember(std::string_view text, std::string_view name);

// What the SDK makes of the escaped characters of a JSON string: `\r` and `\n` become line ends, every other escape
// stays in the text as it is.
std::string withLineEnds(std::string_view escaped);

// Removes raw line ends inside strings, where JSON forbids them.
std::string withoutRawLineEnds(std::string_view text);

// Escapes everything that must not appear in a JSON string.
std::string escapeJson(std::string_view text);

}  // namespace zelrtc::hostsdk

#endif
