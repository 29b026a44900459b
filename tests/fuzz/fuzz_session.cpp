// A whole session, driven by the input, over an SDK that fails as the input says.
#include "session_run.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    zelrtc::fuzz::SessionRun(data, size).run();
    return 0;
}
