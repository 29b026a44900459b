/** @file connection_monitor.h Which connection states are reported, and when. */
#ifndef HOSTSDK_SRC_CONNECTION_CONNECTION_MONITOR_H
#define HOSTSDK_SRC_CONNECTION_CONNECTION_MONITOR_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <chrono>
#include <functional>
#include <optional>

#include "engine/pipeline_events.h"

namespace zelrtc::hostsdk {

// Turns transport events and the time since the last packet into connection states, and reports each change once.
// Not thread-safe.
class ConnectionMonitor {
public:
    using Clock = hostsdk::Clock;
    using Report = std::function<void(RTC_PEER_CONNECTION_STATE)>;

    // The SDK's times.
    static constexpr std::chrono::seconds kConnectingLimit{10};
    static constexpr std::chrono::seconds kSilenceLimit{30};
    static constexpr std::chrono::seconds kDisconnectedLimit{15};

    // `silenceRate`: how many times as fast as the clock the silence of a far end passes. 1 but for tests.
    explicit ConnectionMonitor(Report report, double silenceRate = 1);

    // Call when the answer is set: connecting begins.
    void start(Clock::time_point now);
    // The far end can have the answer only now: the limit of connecting begins again.
    void restartConnecting(Clock::time_point now);
    void onTransport(TransportEvent event, Clock::time_point now);
    // `lastPacket`: when a packet last came in from the far end; nothing when none ever did.
    void check(std::optional<Clock::time_point> lastPacket, Clock::time_point now);

private:
    bool isOver() const;
    bool hasBeenSilent(std::chrono::seconds limit, Clock::time_point since, Clock::time_point now) const;
    void enter(RTC_PEER_CONNECTION_STATE state, Clock::time_point now);

    Report report_;
    double silenceRate_;
    RTC_PEER_CONNECTION_STATE state_ = RTC_PEER_CONNECTION_STATE_NONE;
    Clock::time_point since_;
};

}  // namespace zelrtc::hostsdk

#endif
