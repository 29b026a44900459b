/** @file connection_monitor.h Which connection states are reported, and when. */
#ifndef HOSTSDK_SRC_CONNECTION_CONNECTION_MONITOR_H
#define HOSTSDK_SRC_CONNECTION_CONNECTION_MONITOR_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <chrono>
#include <functional>
#include <optional>

#include "engine/pipeline_events.h"

namespace zelrtc::hostsdk {

// Turns transport events and the time since the last received packet into state reports, each change once.
// Not thread-safe: one thread feeds it.
class ConnectionMonitor {
public:
    using Clock = hostsdk::Clock;
    using Report = std::function<void(RTC_PEER_CONNECTION_STATE)>;

    // A live viewer's longest gap between packets is a little over a second.
    static constexpr std::chrono::seconds kSilenceLimit{5};
    // Neither ICE nor DTLS gives up when the far end never answers.
    static constexpr std::chrono::seconds kConnectingLimit{30};
    static constexpr std::chrono::seconds kDisconnectedLimit{30};

    explicit ConnectionMonitor(Report report);

    // The answer is set: connecting begins.
    void start(Clock::time_point now);
    void onTransport(TransportEvent event, Clock::time_point now);
    // `lastPacket`: when media or control packets last came in; nothing when none ever did.
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
