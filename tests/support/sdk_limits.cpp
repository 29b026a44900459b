#include "sdk_limits.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>

namespace zelrtc::test {

std::chrono::milliseconds sdkLimit(const std::string& name) {
    std::ifstream file(ZELRTC_SDK_LIMITS);
    const nlohmann::json seconds = nlohmann::json::parse(file).at(name).at("seconds");
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no thread changes the environment
    const char* const sdk = std::getenv("ZELRTC_SDK_UNDER_TEST");
    if (sdk != nullptr) {
        return std::chrono::seconds(seconds.at(sdk).get<int>());
    }
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no thread changes the environment
    if (std::getenv("ZELRTC_CAMERA_UNDER_TEST") == nullptr) {
        return std::chrono::seconds(seconds.at("stand-in").get<int>());
    }
    return std::chrono::seconds(std::max_element(seconds.begin(), seconds.end())->get<int>());
}

}  // namespace zelrtc::test
