#include "http/request.h"

#include <algorithm>

#include "http/letter_case.h"

namespace zelrtc::camera {

namespace {

std::optional<std::string> firstOf(const std::vector<Field>& fields, const std::string& name) {
    const auto found =
        std::find_if(fields.begin(), fields.end(), [&name](const Field& field) { return field.name == name; });
    return found == fields.end() ? std::nullopt : std::optional(found->value);
}

}  // namespace

std::optional<std::string> Request::header(const std::string& name) const {
    return firstOf(headers, name);
}

size_t Request::countOf(const std::string& name) const {
    return static_cast<size_t>(
        std::count_if(headers.begin(), headers.end(), [&name](const Field& field) { return field.name == name; }));
}

std::optional<std::string> Request::parameter(const std::string& name) const {
    return firstOf(query, name);
}

std::string Request::mediaType() const {
    const std::string type = header("content-type").value_or("");
    return lowerCase(type.substr(0, type.find_first_of("; \t")));
}

}  // namespace zelrtc::camera
