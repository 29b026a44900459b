/** @file allocations.h How often a thread asks for memory: what a benchmark reports beside its time. */
#ifndef BENCH_MICRO_ALLOCATIONS_H
#define BENCH_MICRO_ALLOCATIONS_H

#include <cstdint>

namespace bench {

/** How often the calling thread has asked the C++ runtime for memory. */
uint64_t allocationCount();

}  // namespace bench

#endif
