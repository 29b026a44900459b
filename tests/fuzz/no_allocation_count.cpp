// Stands in for the unit tests' allocation counter, so that operator new and delete stay the sanitizer's.
#include "allocations.h"

namespace zelrtc::test {

UncountedScope::UncountedScope() = default;
UncountedScope::~UncountedScope() = default;

}  // namespace zelrtc::test
