/** @file waiting.h Waiting for what other processes bring about. */
#ifndef TESTS_SUPPORT_WAITING_H
#define TESTS_SUPPORT_WAITING_H

#include <chrono>
#include <functional>

namespace zelrtc::test {

/** Asks `condition` until it holds or the limit has passed. @return whether it held */
bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit);

}  // namespace zelrtc::test

#endif
