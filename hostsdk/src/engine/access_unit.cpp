#include "engine/access_unit.h"

namespace zelrtc::hostsdk {

namespace {

constexpr uint8_t kTypeBits = 0x1f;
constexpr uint8_t kDelimiter = 9;
// The unit's header and the kind of picture.
constexpr size_t kDelimiterBytes = 2;

// Of the start code at the position, with its leading zeros; 0 where there is none.
size_t startCodeBytes(const uint8_t* unit, size_t size, size_t at) {
    size_t one = at;
    while (one < size && unit[one] == 0) {
        one++;
    }
    const bool isStart = one < size && one >= at + 2 && unit[one] == 1;
    return isStart ? one + 1 - at : 0;
}

}  // namespace

size_t delimiterBytes(const uint8_t* unit, size_t size) {
    const size_t begin = startCodeBytes(unit, size, 0);
    const size_t end = begin + kDelimiterBytes;
    const bool isDelimiter = begin != 0 && end < size && (unit[begin] & kTypeBits) == kDelimiter;
    return isDelimiter && startCodeBytes(unit, size, end) != 0 ? end : 0;
}

}  // namespace zelrtc::hostsdk
