/** @file waiting.h Waiting for other processes. */
#ifndef TESTS_SUPPORT_WAITING_H
#define TESTS_SUPPORT_WAITING_H

#include <chrono>
#include <functional>

namespace zelrtc::test {

/** Polls `condition` until it holds or the limit passes. @return whether it held */
bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit);

}  // namespace zelrtc::test

#endif
