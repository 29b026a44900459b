// Which connection states are reported, and when.
#ifndef HOSTSDK_SRC_CONNECTION_CONNECTION_MONITOR_H
#define HOSTSDK_SRC_CONNECTION_CONNECTION_MONITOR_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <chrono>
#include <functional>
#include <optional>

namespace zelrtc::hostsdk {

// What the transport reports.
enum class TransportEvent { kConnected, kFailed, kClosedByFarEnd };

// Turns transport events and the time since the last packet into connection states, and reports each change once.
// Not thread-safe.
class ConnectionMonitor {
public:
    using Clock = std::chrono::steady_clock;
    using Report = std::function<void(RTC_PEER_CONNECTION_STATE)>;

    // A live viewer's longest gap between packets is a little over a second.
    static constexpr std::chrono::seconds kSilenceLimit{5};
    // Neither ICE nor DTLS gives up when the far end never answers.
    static constexpr std::chrono::seconds kConnectingLimit{30};
    static constexpr std::chrono::seconds kDisconnectedLimit{30};

    explicit ConnectionMonitor(Report report);

    // Call when the answer is set: connecting begins.
    void start(Clock::time_point now);
    void onTransport(TransportEvent event, Clock::time_point now);
    // `lastPacket`: when an RTP or RTCP packet last arrived; nothing if none ever has.
    void check(std::optional<Clock::time_point> lastPacket, Clock::time_point now);

private:
    bool isOver() const;
    void enter(RTC_PEER_CONNECTION_STATE state, Clock::time_point now);

    Report report_;
    RTC_PEER_CONNECTION_STATE state_ = RTC_PEER_CONNECTION_STATE_NONE;
    Clock::time_point since_;
};

}  // namespace zelrtc::hostsdk

#endif
