// What GLib and OpenSSL keep on purpose, told to the leak check. Part of every program with the address sanitizer.
//
// Suppressions would need the whole stack of each allocation, and GLib and OpenSSL are built without frame pointers:
// such stacks take the slow unwinder, in which a call would spend two thirds of its processor time.

#include <dlfcn.h>
#include <execinfo.h>
#include <sanitizer/lsan_interface.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

// GLib's table of names, first made when it is loaded. It grows by as much each time, and the old one stays: readers
// take no lock.
constexpr size_t kStepOfNames = 2048 * sizeof(char*);

bool areLibrariesLoaded = false;
bool isGlibLoaded = false;

bool isForNames() {
    constexpr int kMostFrames = 12;
    void* frames[kMostFrames];
    const int count = backtrace(frames, kMostFrames);
    for (int i = 0; i < count; ++i) {
        Dl_info found;
        if (dladdr(frames[i], &found) != 0 && found.dli_sname != nullptr &&
            (std::strncmp(found.dli_sname, "g_quark_", 8) == 0 || std::strncmp(found.dli_sname, "g_intern_", 9) == 0)) {
            return true;
        }
    }
    return false;
}

// At the end of the program OpenSSL would forget the data of threads that have not ended yet, such as the engine's.
void keepOpenSslToTheEnd() {
    constexpr uint64_t kNoCleanupAtExit = 0x00080000;
    using Initialize = int (*)(uint64_t, const void*);
    void* const library = dlopen("libcrypto.so.3", RTLD_NOW | RTLD_GLOBAL);
    void* const function = library != nullptr ? dlsym(library, "OPENSSL_init_crypto") : nullptr;
    if (function != nullptr) {
        reinterpret_cast<Initialize>(function)(kNoCleanupAtExit, nullptr);
    }
}

const struct AfterLibraries {
    AfterLibraries() {
        areLibrariesLoaded = true;
        if (isGlibLoaded) {
            keepOpenSslToTheEnd();
        }
    }
} afterLibraries;

}  // namespace

// The sanitizer calls it after each allocation, by the name of that symbol.
extern "C" void onAllocation(const volatile void* block, size_t size) __asm__("__sanitizer_malloc_hook");

extern "C" void onAllocation(const volatile void* block, size_t size) {
    if (size == 0 || size % kStepOfNames != 0) {
        return;
    }
    // While GLib is loaded, no function of its interface is on the stack.
    const bool isFirst = !areLibrariesLoaded && size == kStepOfNames;
    isGlibLoaded = isGlibLoaded || isFirst;
    if (isFirst || (areLibrariesLoaded && isForNames())) {
        __lsan_ignore_object(const_cast<const void*>(block));
    }
}
