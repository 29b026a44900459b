// The C functions of the platform library: the log and the atomics.
#include <com/amazonaws/kinesis/video/common/PlatformUtils.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <ctime>

namespace {

constexpr const char* kLevelNames[] = {"", "VERBOSE", "DEBUG", "INFO", "WARN", "ERROR", "FATAL", "SILENT", "PROFILE"};
constexpr UINT32 kLevelCount = sizeof(kLevelNames) / sizeof(kLevelNames[0]);

std::atomic<UINT32> lowestLevel{LOG_LEVEL_WARN};

const char* levelName(UINT32 level) {
    return level < kLevelCount ? kLevelNames[level] : "";
}

void writeTime() {
    timespec now{};
    tm parts{};
    char text[sizeof("2000-01-01 00:00:00")];
    clock_gettime(CLOCK_REALTIME, &now);
    gmtime_r(&now.tv_sec, &parts);
    strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &parts);
    printf("%s.%03ld", text, now.tv_nsec / 1000000);
}

// The stream's lock keeps lines of different threads apart.
VOID printToStdout(UINT32 level, PCHAR tag, PCHAR format, ...) {
    if (level < lowestLevel.load(std::memory_order_relaxed)) {
        return;
    }
    va_list values;
    va_start(values, format);
    flockfile(stdout);
    writeTime();
    printf(" %-7s %s: ", levelName(level), tag == nullptr ? "" : tag);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): started above, which the analyzer loses on the way
    vprintf(format, values);
    putchar('\n');
    fflush(stdout);
    funlockfile(stdout);
    va_end(values);
}

SIZE_T loadFlag(volatile SIZE_T* flag) {
    return __atomic_load_n(flag, __ATOMIC_SEQ_CST);
}

VOID storeFlag(volatile SIZE_T* flag, SIZE_T value) {
    __atomic_store_n(flag, value, __ATOMIC_SEQ_CST);
}

}  // namespace

logPrintFunc globalCustomLogPrintFn = printToStdout;
atomicLoad globalAtomicLoad = loadFlag;
atomicStore globalAtomicStore = storeFlag;

STATUS loggerSetLogLevel(UINT32 level) {
    lowestLevel.store(level, std::memory_order_relaxed);
    return STATUS_SUCCESS;
}
