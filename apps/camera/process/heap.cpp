#include "process/heap.h"

#include <cstdlib>  // for __GLIBC__

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace zelrtc::camera {

void keepToOneArena() {
#ifdef __GLIBC__
    mallopt(M_ARENA_MAX, 1);  // NOLINT(concurrency-mt-unsafe): no other thread exists yet
#endif
}

void returnFreeMemory() {
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

}  // namespace zelrtc::camera
