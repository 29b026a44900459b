// Replaces the unit tests' allocation counter, which would take operator new and delete from the sanitizer.
#include "allocations.h"

namespace zelrtc::test {

UncountedScope::UncountedScope() = default;
UncountedScope::~UncountedScope() = default;

}  // namespace zelrtc::test
