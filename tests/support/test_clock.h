/** @file test_clock.h The library's clock in the hands of a test: linked first, it replaces the real one. */
#ifndef TESTS_SUPPORT_TEST_CLOCK_H
#define TESTS_SUPPORT_TEST_CLOCK_H

namespace zelrtc::test {

void setTimeMs(double now);
void advanceTimeMs(double by);

}  // namespace zelrtc::test

#endif
