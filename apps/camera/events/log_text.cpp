#include "events/log_text.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace zelrtc::camera {

namespace {

std::optional<int> numberAt(std::string_view text) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end == text.data()) {
        return std::nullopt;
    }
    return number;
}

}  // namespace

std::optional<int> sessionNamedIn(const std::string& text) {
    // Only the text before a quoted offer or candidate is the session's own.
    const std::string_view own = std::string_view(text).substr(0, text.find('{'));
    for (const std::string_view word : {"session ", "session: "}) {
        for (size_t at = own.find(word); at != std::string_view::npos; at = own.find(word, at + 1)) {
            if (const auto number = numberAt(own.substr(at + word.size()))) {
                return number;
            }
        }
    }
    return std::nullopt;
}

std::string oneLine(std::string text) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; };
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return text;
}

}  // namespace zelrtc::camera
