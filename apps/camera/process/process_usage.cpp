#include "process/process_usage.h"

#include <cstdlib>  // for __GLIBC__
#include <filesystem>
#include <iterator>
#include <system_error>

#if defined(__GLIBC__) && __GLIBC_PREREQ(2, 33)
#include <malloc.h>
#endif

namespace zelrtc::camera {

namespace {

int countEntries(const char* directory) {
    std::error_code error;
    const std::filesystem::directory_iterator entries(directory, error);
    return error ? 0 : static_cast<int>(std::distance(begin(entries), end(entries)));
}

}  // namespace

int openDescriptors() {
    return countEntries("/proc/self/fd") - 1;  // one of them is open for counting
}

int runningThreads() {
    return countEntries("/proc/self/task");
}

std::optional<uint64_t> heapBytes() {
#if defined(__GLIBC__) && __GLIBC_PREREQ(2, 33)
    const auto heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
#else
    return std::nullopt;
#endif
}

}  // namespace zelrtc::camera
