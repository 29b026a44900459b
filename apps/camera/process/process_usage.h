/** @file process_usage.h What the process holds, so that a leak can be seen from outside. */
#ifndef APPS_CAMERA_PROCESS_PROCESS_USAGE_H
#define APPS_CAMERA_PROCESS_PROCESS_USAGE_H

#include <cstdint>
#include <optional>

namespace zelrtc::camera {

/** Open file descriptors. */
int openDescriptors();

/** Running threads. */
int runningThreads();

/**
 * Bytes that were allocated and not freed. The resident memory also holds what is free and scattered, so it grows with
 * the calls that there were at once; this does not. @return nothing where the C library does not tell
 */
std::optional<uint64_t> heapBytes();

}  // namespace zelrtc::camera

#endif
