#ifndef ZELRTC_BENCH_HAND_WRITTEN_H
#define ZELRTC_BENCH_HAND_WRITTEN_H

#include <cstddef>
#include <cstdint>

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

namespace bench {

/**
 * The least that a guarded write costs when written by hand: load both flags, fill one frame, call the SDK. The session
 * is measured against this.
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

}  // namespace bench

#endif
