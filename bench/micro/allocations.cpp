#include "allocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local uint64_t allocations;

}  // namespace

namespace bench {

uint64_t allocationCount() {
    return allocations;
}

}  // namespace bench

void* operator new(std::size_t size) {
    allocations++;
    void* memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
