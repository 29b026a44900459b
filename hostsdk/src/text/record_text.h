/** @file record_text.h Texts in the SDK's fixed-size fields. */
#ifndef HOSTSDK_SRC_TEXT_RECORD_TEXT_H
#define HOSTSDK_SRC_TEXT_RECORD_TEXT_H

#include <com/amazonaws/kinesis/video/common/PlatformUtils.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace zelrtc::hostsdk {

// Truncates to the field's size; always terminated.
template <size_t size>
void setField(CHAR (&field)[size], const std::string& text) {
    const size_t length = std::min(text.size(), size - 1);
    std::memcpy(field, text.data(), length);
    field[length] = '\0';
}

// Never reads past the field, terminated or not.
template <size_t size>
std::string getField(const CHAR (&field)[size]) {
    return std::string(field, strnlen(field, size));
}

}  // namespace zelrtc::hostsdk

#endif
