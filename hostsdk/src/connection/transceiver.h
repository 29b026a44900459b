/** @file transceiver.h One track of a connection, out and in. */
#ifndef HOSTSDK_SRC_CONNECTION_TRANSCEIVER_H
#define HOSTSDK_SRC_CONNECTION_TRANSCEIVER_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <atomic>
#include <memory>
#include <mutex>

#include "engine/media_sender.h"

namespace zelrtc::hostsdk {

// Derives from the record that callers hold. Thread-safe.
class Transceiver : public RtcRtpTransceiver {
public:
    Transceiver(const RtcMediaStreamTrack& track, RTC_RTP_TRANSCEIVER_DIRECTION wantedDirection);

    void setFrameHandler(UINT64 customData, RtcOnFrame handler);
    void setBandwidthHandler(UINT64 customData, RtcOnBandwidthEstimation handler);

    // Attaches the sender that negotiation made; null detaches it.
    void setSender(std::unique_ptr<MediaSender> sender);
    // Whether the offer named the source of the far end's media. The SDK drops packets of others.
    void setSourceNamed(bool named);
    bool isSourceNamed() const;
    // Starts or stops accepting frames.
    void setReady(bool ready);
    STATUS write(const Frame& frame);

    // Both run the handler, if there is one, on the calling thread.
    void handleFrame(Frame* frame);
    void handleBandwidth(double bitsPerSecond);

private:
    std::mutex mutex_;
    std::unique_ptr<MediaSender> sender_;
    bool ready_ = false;
    std::atomic<bool> sourceNamed_{false};
    RtcOnFrame onFrame_ = nullptr;
    UINT64 onFrameData_ = 0;
    RtcOnBandwidthEstimation onBandwidth_ = nullptr;
    UINT64 onBandwidthData_ = 0;
};

}  // namespace zelrtc::hostsdk

#endif
