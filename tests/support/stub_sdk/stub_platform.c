#include "stub_sdk.h"

static VOID printNothing(UINT32 level, PCHAR tag, PCHAR format, ...) {
    (void) level;
    (void) tag;
    (void) format;
}

static SIZE_T load(volatile SIZE_T* place) {
    return __atomic_load_n(place, __ATOMIC_SEQ_CST);
}

static VOID store(volatile SIZE_T* place, SIZE_T value) {
    __atomic_store_n(place, value, __ATOMIC_SEQ_CST);
}

logPrintFunc globalCustomLogPrintFn = printNothing;
atomicLoad globalAtomicLoad = load;
atomicStore globalAtomicStore = store;

STATUS loggerSetLogLevel(UINT32 level) {
    (void) level;
    return STATUS_SUCCESS;
}
