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
 * Bytes allocated and not freed. Unlike resident memory, this does not count free blocks scattered through the heap,
 * so it does not grow with the largest number of simultaneous calls. @return nothing if the C library cannot tell
 */
std::optional<uint64_t> heapBytes();

}  // namespace zelrtc::camera

#endif
