#include "text/remb.h"

#include <cmath>
#include <cstring>

namespace zelrtc::hostsdk {

std::optional<double> readRemb(const uint8_t* data, size_t size) {
    constexpr size_t kFixedSize = 8;
    if (size < kFixedSize || std::memcmp(data, "REMB", 4) != 0) {
        return std::nullopt;
    }
    // One byte with the number of sources, then 6 bits of exponent and 18 of mantissa.
    const int exponent = data[5] >> 2;
    const int mantissa = ((data[5] & 0x03) << 16) | (data[6] << 8) | data[7];
    return std::ldexp(static_cast<double>(mantissa), exponent);
}

}  // namespace zelrtc::hostsdk
