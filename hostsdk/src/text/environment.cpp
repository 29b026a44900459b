#include "text/environment.h"

#include <cmath>
#include <cstdlib>

#include "text/log.h"

namespace zelrtc::hostsdk {

std::optional<double> environmentNumber(const char* name) {
    const char* const text = getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing here changes the environment
    if (text == nullptr) {
        return std::nullopt;
    }
    char* end = nullptr;
    const double number = std::strtod(text, &end);
    if (end == text || *end != '\0' || !std::isfinite(number) || number <= 0) {
        logError(std::string(name) + " is no positive number: " + text);
        return std::nullopt;
    }
    return number;
}

}  // namespace zelrtc::hostsdk
