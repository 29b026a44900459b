/** @file allocations.h Counts the allocations of the code under test, and makes a chosen one fail. */
#ifndef TESTS_SUPPORT_ALLOCATIONS_H
#define TESTS_SUPPORT_ALLOCATIONS_H

namespace zelrtc::test {

// Linking allocations.cpp replaces a program's operator new and delete. All of this affects the calling thread only.

/** Allocations inside this scope, the test's own, are neither counted nor made to fail. */
class UncountedScope {
public:
    UncountedScope();
    ~UncountedScope();
    UncountedScope(const UncountedScope&) = delete;
    UncountedScope& operator=(const UncountedScope&) = delete;
};

/** Counts from construction on. */
class AllocationCount {
public:
    AllocationCount();

    /** Allocations since construction. */
    unsigned long made() const;
    /** Allocations since construction that are not released yet, minus earlier ones that have been released since. */
    long unreleased() const;

private:
    unsigned long madeBefore_;
    unsigned long releasedBefore_;
};

/** In this scope the n-th allocation (from 1) throws std::bad_alloc, or returns null if it must not throw. */
class FailingAllocation {
public:
    explicit FailingAllocation(unsigned long nth);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
};

}  // namespace zelrtc::test

#endif
