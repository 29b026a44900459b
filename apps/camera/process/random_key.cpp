#include "process/random_key.h"

#include <sys/random.h>

#include <array>
#include <stdexcept>

namespace zelrtc::camera {

std::string randomKey() {
    std::array<unsigned char, 16> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("the system has no random numbers");
    }
    const std::string digits = "0123456789abcdef";
    std::string key;
    for (const unsigned char byte : bytes) {
        key += digits[byte >> 4U];
        key += digits[byte & 15U];
    }
    return key;
}

}  // namespace zelrtc::camera
