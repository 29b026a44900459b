/** @file test_clock.h The library's clock under a test's control: linked first, it replaces the real one. */
#ifndef TESTS_SUPPORT_TEST_CLOCK_H
#define TESTS_SUPPORT_TEST_CLOCK_H

namespace zelrtc::test {

void setTimeMs(double now);
void advanceTimeMs(double by);

}  // namespace zelrtc::test

#endif
