/** @file frame_writers.h The ways to write one frame that the benchmarks compare, with one signature. */
#ifndef BENCH_MICRO_FRAME_WRITERS_H
#define BENCH_MICRO_FRAME_WRITERS_H

#include <cstdint>
#include <vector>

#include "hand_written.h"
#include "zelwebrtc_session.h"

namespace zelrtc::bench {

/** One frame and everything it can be written to. The sessions run over the stub SDK. */
class Targets {
public:
    Targets();

    PRtcRtpTransceiver transceiver;
    HandWrittenSender byHand;
    ZelRtcSession connected; /**< past its first key frame */
    ZelRtcSession waiting;   /**< connected, no key frame seen */
    ZelRtcSession idle;      /**< never connected */
    uint8_t* data;
    size_t size;
};

/** Writes one frame and returns the write's result. */
using FrameWriter = int (*)(Targets* targets, int64_t presentationTs);

struct NamedWriter {
    const char* name;
    FrameWriter writer;
    int result; /**< the expected result of a write */
};

const std::vector<NamedWriter>& frameWriters();

}  // namespace zelrtc::bench

#endif
