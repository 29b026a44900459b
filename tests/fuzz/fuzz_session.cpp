// A whole session driven by the input, over an SDK whose failures the input picks.
#include "session_run.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    zelrtc::fuzz::SessionRun(data, size).run();
    return 0;
}
