/** @file rtp_receiver.h Takes plain RTP as a media server does, and asks for key frames. */
#ifndef TESTS_CALL_SUPPORT_RTP_RECEIVER_H
#define TESTS_CALL_SUPPORT_RTP_RECEIVER_H

#include <netinet/in.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelrtc::test {

/** Two ports of the loopback address, one for RTP and the next one for RTCP. Used by one thread. */
class RtpReceiver {
public:
    /** @throws std::runtime_error if no two such ports are free */
    RtpReceiver();
    ~RtpReceiver();
    RtpReceiver(const RtpReceiver&) = delete;
    RtpReceiver& operator=(const RtpReceiver&) = delete;

    /** As an option takes it. */
    std::string address() const;

    /** Takes what comes until `done` holds or the limit passes. @return whether it held */
    bool receiveUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);

    uint64_t packets() const {
        return packets_;
    }
    /** How often a packet's number was not the one after the last packet's. */
    uint64_t gaps() const {
        return gaps_;
    }
    const std::set<int>& payloadTypes() const {
        return payloadTypes_;
    }
    const std::set<uint32_t>& sources() const {
        return sources_;
    }
    /** RTP times of the H.264 key frames, each of which begins with a parameter set. */
    const std::vector<uint32_t>& keyFrames() const {
        return keyFrames_;
    }
    /** Sender reports; requests go to where they come from. */
    uint64_t reports() const {
        return reports_;
    }

    /** Sends a picture loss indication. There must have been a report. */
    void askForKeyFrame() const;

private:
    void takePackets();
    void takeReports();
    void take(const std::vector<uint8_t>& packet);

    int packetSocket_ = -1;
    int reportSocket_ = -1;
    uint16_t port_ = 0;
    sockaddr_in sender_{};
    uint64_t packets_ = 0;
    uint64_t gaps_ = 0;
    uint64_t reports_ = 0;
    std::optional<uint16_t> lastNumber_;
    std::set<int> payloadTypes_;
    std::set<uint32_t> sources_;
    std::vector<uint32_t> keyFrames_;
};

}  // namespace zelrtc::test

#endif
