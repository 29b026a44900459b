/** @file guard.h What every C function does around its operation. */
#ifndef HOSTSDK_SRC_API_GUARD_H
#define HOSTSDK_SRC_API_GUARD_H

#include <com/amazonaws/kinesis/video/common/PlatformUtils.h>

#include <exception>
#include <new>
#include <type_traits>

#include "text/log.h"

namespace zelrtc::hostsdk {

// Whether none of a function's pointers is null.
template <typename... Pointers>
bool given(Pointers... pointers) {
    return (... && (pointers != nullptr));
}

// Keeps exceptions inside: C callers get a status, the operation's own or, when it returns nothing, success.
template <typename Operation>
STATUS guarded(Operation operation) {
    try {
        if constexpr (std::is_void_v<decltype(operation())>) {
            operation();
            return STATUS_SUCCESS;
        } else {
            return operation();
        }
    } catch (const std::bad_alloc&) {
        return STATUS_NOT_ENOUGH_MEMORY;
    } catch (const std::exception& error) {
        logError(error.what());
        return STATUS_INVALID_OPERATION;
    }
}

// The same, for an operation that runs only when all its arguments are given.
template <typename Operation>
STATUS guarded(bool argumentsGiven, Operation operation) {
    return argumentsGiven ? guarded(operation) : STATUS_NULL_ARG;
}

}  // namespace zelrtc::hostsdk

#endif
