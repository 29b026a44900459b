// The allocation counter that other tests rely on catches every form of operator new.
#include "allocations.h"

#include <gtest/gtest.h>

#include <new>

namespace zelrtc::test {
namespace {

TEST(AllocationCount, SeesAllocationsThatDoNotThrow) {
    const AllocationCount count;
    void* const one = ::operator new(8, std::nothrow);
    void* const several = ::operator new[](8, std::nothrow);
    EXPECT_EQ(count.made(), 2U);
    ::operator delete(one, std::nothrow);
    EXPECT_EQ(count.unreleased(), 1);
    ::operator delete[](several, std::nothrow);
    EXPECT_EQ(count.unreleased(), 0);
}

TEST(FailingAllocation, GivesNullWhereThrowingIsNotWanted) {
    const FailingAllocation failing(2);
    void* const first = ::operator new(8, std::nothrow);
    void* const second = ::operator new(8, std::nothrow);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(second, nullptr);
    ::operator delete(first, std::nothrow);
}

}  // namespace
}  // namespace zelrtc::test
