/**
 * @file promise.h Ends a fuzz target when the code under test breaks a promise: the promise is printed, the input kept.
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
