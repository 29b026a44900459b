/** @file hand_written.h The floor: what a guarded write costs without a session. */
#ifndef BENCH_MICRO_HAND_WRITTEN_H
#define BENCH_MICRO_HAND_WRITTEN_H

#include <cstddef>
#include <cstdint>

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

namespace zelrtc::bench {

/**
 * The least that a hand-written guarded write can cost: one frame filled, both flags loaded, the SDK called. The
 * session is measured against it. The frame is filled first, as in the session, because the other order costs nine
 * instructions more.
 */
class HandWrittenSender {
public:
    explicit HandWrittenSender(PRtcRtpTransceiver transceiver);
    /** Takes the same arguments as the session's write; the last two are unused. */
    int write(uint8_t* data, size_t size, int64_t presentationTs, int flags, int videoType);

private:
    PRtcRtpTransceiver transceiver_;
    ATOMIC_BOOL connected_;
    ATOMIC_BOOL terminated_;
};

}  // namespace zelrtc::bench

#endif
