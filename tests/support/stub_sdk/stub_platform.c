#include "stub_sdk.h"

static VOID printNothing(UINT32 level, PCHAR tag, PCHAR format, ...) {
    (void) level;
    (void) tag;
    (void) format;
}

static SIZE_T load(volatile SIZE_T* pValue) {
    return *pValue;
}

static VOID store(volatile SIZE_T* pValue, SIZE_T value) {
    *pValue = value;
}

logPrintFunc globalCustomLogPrintFn = printNothing;
atomicLoad globalAtomicLoad = load;
atomicStore globalAtomicStore = store;

STATUS loggerSetLogLevel(UINT32 level) {
    (void) level;
    return STATUS_SUCCESS;
}
