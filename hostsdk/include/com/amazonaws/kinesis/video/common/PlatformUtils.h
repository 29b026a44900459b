/**
 * The platform layer that the WebRTC SDK's public interface builds on: scalar types, the logging hook and the atomics,
 * as far as the session layer uses them. Declared for development hosts; a device compiles against the installed SDK.
 */
#ifndef HOSTSDK_PLATFORM_UTILS_H
#define HOSTSDK_PLATFORM_UTILS_H

#include <dirent.h>
#include <malloc.h>
#include <math.h>
#include <pthread.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/prctl.h>

#include <com/amazonaws/kinesis/video/common/PlatformMacros.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef char CHAR;
typedef CHAR* PCHAR;
typedef uint8_t BYTE;
typedef BYTE* PBYTE;
typedef int32_t BOOL;
typedef int32_t INT32;
typedef int64_t INT64;
typedef uint16_t UINT16;
typedef uint32_t UINT32;
typedef UINT32* PUINT32;
typedef uint64_t UINT64;
typedef double DOUBLE;
typedef size_t SIZE_T;

/** A flag shared between threads: read and written only through the functions below. */
typedef volatile SIZE_T ATOMIC_BOOL;

#define STATUS_SUCCESS ((STATUS) 0x00000000)
#define STATUS_NULL_ARG ((STATUS) 0x00000001)
#define STATUS_INVALID_ARG ((STATUS) 0x00000002)
#define STATUS_NOT_ENOUGH_MEMORY ((STATUS) 0x00000004)
#define STATUS_BUFFER_TOO_SMALL ((STATUS) 0x00000005)
#define STATUS_INVALID_OPERATION ((STATUS) 0x0000000d)
#define STATUS_NOT_IMPLEMENTED ((STATUS) 0x0000000e)

#define LOG_LEVEL_VERBOSE 1
#define LOG_LEVEL_DEBUG 2
#define LOG_LEVEL_INFO 3
#define LOG_LEVEL_WARN 4
#define LOG_LEVEL_ERROR 5
#define LOG_LEVEL_FATAL 6
#define LOG_LEVEL_SILENT 7
#define LOG_LEVEL_PROFILE 8

/** Writes one log line: printf-style, without a line end in the format. May be called on any thread. */
typedef VOID (*logPrintFunc)(UINT32 level, PCHAR tag, PCHAR format, ...);

/** Where every log line goes; never null. An application assigns its own function before its first call. */
extern logPrintFunc globalCustomLogPrintFn;

/** Sets the lowest level that the default printer writes; 4 at the start. */
STATUS loggerSetLogLevel(UINT32 level);

/** Sequentially consistent load and store of a flag. */
typedef SIZE_T (*atomicLoad)(volatile SIZE_T*);
typedef VOID (*atomicStore)(volatile SIZE_T*, SIZE_T);
extern atomicLoad globalAtomicLoad;
extern atomicStore globalAtomicStore;

#ifdef __cplusplus
}
#endif

#endif
