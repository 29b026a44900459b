/**
 * @file promise.h How a fuzz target ends when the code under test breaks a promise: with the promise's words and the
 * input kept.
 */
#ifndef TESTS_FUZZ_PROMISE_H
#define TESTS_FUZZ_PROMISE_H

#include <stdio.h>
#include <stdlib.h>

namespace zelrtc::fuzz {

inline void require(bool kept, const char* promise) {
    if (!kept) {
        fprintf(stderr, "broken promise: %s\n", promise);
        abort();
    }
}

}  // namespace zelrtc::fuzz

#endif
