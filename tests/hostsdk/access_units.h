/** @file access_units.h Video to send. */
#ifndef TESTS_HOSTSDK_ACCESS_UNITS_H
#define TESTS_HOSTSDK_ACCESS_UNITS_H

#include <cstdint>
#include <vector>

namespace zelrtc::test {

// H.264 access units of a small moving picture, 30 a second; every 15th is a key frame with parameter sets. Made once.
const std::vector<std::vector<uint8_t>>& accessUnits();

}  // namespace zelrtc::test

#endif
