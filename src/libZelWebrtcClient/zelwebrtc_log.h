/** @file zelwebrtc_log.h How the session writes its log; internal to the library. */
#ifndef ZELWEBRTC_LOG_H
#define ZELWEBRTC_LOG_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

namespace zelrtc {

enum LogLevel {
    kLogFrame = 1,      // per frame
    kLogDetail = 2,     // diagnostics
    kLogProgress = 3,   // lifecycle
    kLogTolerated = 4,  // a failure that does not stop the operation
    kLogFailure = 5
};

// The SDK takes the tag and the format as writable, but only reads them.
template <typename... Values>
inline void writeLogLine(LogLevel level, const char* function, const char* format, Values... values) {
    static const char kTag[] = "platform-utils";
    globalCustomLogPrintFn(level, const_cast<PCHAR>(kTag), const_cast<PCHAR>(format), function, values...);
}

#if defined(__GNUC__)
#define ZELRTC_CHECKED_FORMAT __attribute__((format(printf, 1, 2)))
#else
#define ZELRTC_CHECKED_FORMAT
#endif

ZELRTC_CHECKED_FORMAT void checkLogArguments(const char* format, ...);

// NOLINTNEXTLINE(cert-dcl50-cpp): only a C-style variadic function gets its format checked
inline void checkLogArguments(const char*, ...) {
}

}  // namespace zelrtc

// ZELRTC_LOG(level, format, values...): one line, preceded by the calling function's name. The call that is never made
// lets the compiler check the values against the format, which it cannot do through the SDK's function pointer.
#define ZELRTC_LOG(level, ...)                                           \
    do {                                                                 \
        if (false) {                                                     \
            ::zelrtc::checkLogArguments(__VA_ARGS__);                    \
        }                                                                \
        ::zelrtc::writeLogLine((level), __func__, "%s(): " __VA_ARGS__); \
    } while (false)

// At the single exit of every function that calls the SDK; a failure is logged nowhere else in that function.
#define ZELRTC_LOG_STATUS(status)                                                                  \
    do {                                                                                           \
        if ((status) != STATUS_SUCCESS) {                                                          \
            ZELRTC_LOG(::zelrtc::kLogFailure, "operation returned status code: 0x%08x", (status)); \
        }                                                                                          \
    } while (false)

#endif
