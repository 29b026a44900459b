/** @file remb.h Receiver estimated maximum bitrate (draft-alvestrand-rmcat-remb-03). */
#ifndef HOSTSDK_SRC_TEXT_REMB_H
#define HOSTSDK_SRC_TEXT_REMB_H

#include <cstddef>
#include <cstdint>
#include <optional>

namespace zelrtc::hostsdk {

// Reads the limit, in bits per second, from the control information of an application-layer feedback packet; nothing
// if it is some other feedback.
std::optional<double> readRemb(const uint8_t* data, size_t size);

}  // namespace zelrtc::hostsdk

#endif
