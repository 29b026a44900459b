#include "hand_written.h"

namespace zelrtc::bench {

namespace {

constexpr int kNotConnected = -1;
constexpr UINT64 kTicksPerMicrosecond = 10;

}  // namespace

HandWrittenSender::HandWrittenSender(PRtcRtpTransceiver transceiver)
    : transceiver_(transceiver), connected_(TRUE), terminated_(FALSE) {
}

int HandWrittenSender::write(uint8_t* data, size_t size, int64_t presentationTs, int /*flags*/, int /*videoType*/) {
    Frame frame{};
    frame.frameData = data;
    frame.size = static_cast<UINT32>(size);
    frame.presentationTs = static_cast<UINT64>(presentationTs) * kTicksPerMicrosecond;
    if (!globalAtomicLoad(&connected_) || globalAtomicLoad(&terminated_)) {
        return kNotConnected;
    }
    return static_cast<int>(writeFrame(transceiver_, &frame));
}

}  // namespace zelrtc::bench
