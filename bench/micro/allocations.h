#ifndef ZELRTC_BENCH_ALLOCATIONS_H
#define ZELRTC_BENCH_ALLOCATIONS_H

#include <cstdint>

namespace bench {

/** How often the calling thread has called operator new. */
uint64_t allocationCount();

}  // namespace bench

#endif
