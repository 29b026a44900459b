/** @file access_unit.h What a picture's bytes begin with. */
#ifndef HOSTSDK_SRC_ENGINE_ACCESS_UNIT_H
#define HOSTSDK_SRC_ENGINE_ACCESS_UNIT_H

#include <cstddef>
#include <cstdint>

namespace zelrtc::hostsdk {

// The bytes of the delimiter that an access unit in Annex B form begins with, up to the start code of what follows: 0
// when it begins with something else, or nothing follows. RTP's marker says where pictures end, so that a delimiter
// would only cost a packet of its own.
size_t delimiterBytes(const uint8_t* unit, size_t size);

}  // namespace zelrtc::hostsdk

#endif
