/** @file allocations.h Counts what the code under test allocates, and makes an allocation of its choice fail. */
#ifndef TESTS_SUPPORT_ALLOCATIONS_H
#define TESTS_SUPPORT_ALLOCATIONS_H

namespace zelrtc::test {

// An executable that links allocations.cpp has its operator new and delete replaced. Everything here concerns the
// calling thread only.

/** What the test's own machinery allocates inside this scope is neither counted nor made to fail. */
class UncountedScope {
public:
    UncountedScope();
    ~UncountedScope();
    UncountedScope(const UncountedScope&) = delete;
    UncountedScope& operator=(const UncountedScope&) = delete;
};

/** Counts from its construction on. */
class AllocationCount {
public:
    AllocationCount();

    /** Allocations made since. */
    unsigned long made() const;
    /** Allocations made since and not released, less those released that were made before. */
    long unreleased() const;

private:
    unsigned long madeBefore_;
    unsigned long releasedBefore_;
};

/** Inside this scope the n-th allocation (from 1) throws std::bad_alloc, or is null if it must not throw. */
class FailingAllocation {
public:
    explicit FailingAllocation(unsigned long nth);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
};

}  // namespace zelrtc::test

#endif
