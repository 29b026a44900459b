#include "connection/transceiver.h"

#include <utility>

#include "text/status.h"

namespace zelrtc::hostsdk {

Transceiver::Transceiver(const RtcMediaStreamTrack& track, RTC_RTP_TRANSCEIVER_DIRECTION wantedDirection)
    : RtcRtpTransceiver() {
    direction = wantedDirection;
    receiver.track = track;
}

void Transceiver::setFrameHandler(UINT64 customData, RtcOnFrame handler) {
    const std::lock_guard<std::mutex> lock(mutex_);
    onFrame_ = handler;
    onFrameData_ = customData;
}

void Transceiver::setBandwidthHandler(UINT64 customData, RtcOnBandwidthEstimation handler) {
    const std::lock_guard<std::mutex> lock(mutex_);
    onBandwidth_ = handler;
    onBandwidthData_ = customData;
}

void Transceiver::setSender(std::unique_ptr<MediaSender> sender) {
    const std::lock_guard<std::mutex> lock(mutex_);
    sender_ = std::move(sender);
}

void Transceiver::setSourceNamed(bool named) {
    sourceNamed_ = named;
}

bool Transceiver::isSourceNamed() const {
    return sourceNamed_;
}

void Transceiver::setReady(bool ready) {
    const std::lock_guard<std::mutex> lock(mutex_);
    ready_ = ready;
}

STATUS Transceiver::write(const Frame& frame) {
    if (frame.frameData == nullptr || frame.size == 0) {
        return STATUS_INVALID_ARG;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!ready_ || sender_ == nullptr) {
        return kStatusTransportNotReady;
    }
    return sender_->write(frame);
}

void Transceiver::handleFrame(Frame* frame) {
    std::unique_lock<std::mutex> lock(mutex_);
    const RtcOnFrame handler = onFrame_;
    const UINT64 customData = onFrameData_;
    lock.unlock();
    if (handler != nullptr) {
        handler(customData, frame);
    }
}

void Transceiver::handleBandwidth(double bitsPerSecond) {
    std::unique_lock<std::mutex> lock(mutex_);
    const RtcOnBandwidthEstimation handler = onBandwidth_;
    const UINT64 customData = onBandwidthData_;
    lock.unlock();
    if (handler != nullptr) {
        handler(customData, bitsPerSecond);
    }
}

}  // namespace zelrtc::hostsdk
