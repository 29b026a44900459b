// What GLib and OpenSSL keep on purpose, told to the leak check. Part of every program with the address sanitizer.
//
// Suppressions would need the whole stack of each allocation, and GLib and OpenSSL are built without frame pointers:
// such stacks take the slow unwinder, in which a call would spend two thirds of its processor time.

#include <dlfcn.h>
#include <sanitizer/lsan_interface.h>

#include <cstddef>
#include <cstdint>

namespace {

// GLib's first table of names, made when it is loaded. When it grows, the old one stays: readers take no lock.
constexpr size_t kFirstTableOfNames = 2048 * sizeof(char*);

bool areLibrariesLoaded = false;
bool isGlibLoaded = false;

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

// Called by the sanitizer after each allocation.
// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier): the sanitizer's name
extern "C" void __sanitizer_malloc_hook(const volatile void* block, size_t size) {
    if (!areLibrariesLoaded && size == kFirstTableOfNames) {
        isGlibLoaded = true;
        __lsan_ignore_object(const_cast<const void*>(block));
    }
}
