#include "allocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local unsigned uncountedDepth = 0;
thread_local unsigned long made = 0;
thread_local unsigned long released = 0;
thread_local unsigned long untilFailure = 0;

// Null when memory has run out, or is meant to.
void* allocateOrNull(size_t size) noexcept {
    if (uncountedDepth == 0) {
        if (untilFailure > 0 && --untilFailure == 0) {
            return nullptr;
        }
        ++made;
    }
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): operator new is built on it
    return std::malloc(size > 0 ? size : 1);
}

void* allocate(size_t size) {
    void* memory = allocateOrNull(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void release(void* memory) {
    if (uncountedDepth == 0 && memory != nullptr) {
        ++released;
    }
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): operator delete is built on it
    std::free(memory);
}

}  // namespace

void* operator new(size_t size) {
    return allocate(size);
}

void* operator new[](size_t size) {
    return allocate(size);
}

void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return allocateOrNull(size);
}

void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return allocateOrNull(size);
}

void operator delete(void* memory) noexcept {
    release(memory);
}

void operator delete[](void* memory) noexcept {
    release(memory);
}

void operator delete(void* memory, size_t) noexcept {
    release(memory);
}

void operator delete[](void* memory, size_t) noexcept {
    release(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}

void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}

namespace zelrtc::test {

UncountedScope::UncountedScope() {
    ++uncountedDepth;
}

UncountedScope::~UncountedScope() {
    --uncountedDepth;
}

AllocationCount::AllocationCount() : madeBefore_(::made), releasedBefore_(::released) {
}

unsigned long AllocationCount::made() const {
    return ::made - madeBefore_;
}

long AllocationCount::unreleased() const {
    return static_cast<long>(made()) - static_cast<long>(::released - releasedBefore_);
}

FailingAllocation::FailingAllocation(unsigned long nth) {
    untilFailure = nth;
}

FailingAllocation::~FailingAllocation() {
    untilFailure = 0;
}

}  // namespace zelrtc::test
