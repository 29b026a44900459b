#include "connection/connection_monitor.h"

#include <utility>

namespace zelrtc::hostsdk {

ConnectionMonitor::ConnectionMonitor(Report report, double silenceRate)
    : report_(std::move(report)), silenceRate_(silenceRate) {
}

void ConnectionMonitor::start(Clock::time_point now) {
    if (state_ == RTC_PEER_CONNECTION_STATE_NONE) {
        enter(RTC_PEER_CONNECTION_STATE_CONNECTING, now);
    }
}

void ConnectionMonitor::restartConnecting(Clock::time_point now) {
    if (state_ == RTC_PEER_CONNECTION_STATE_CONNECTING) {
        since_ = now;
    }
}

void ConnectionMonitor::onTransport(TransportEvent event, Clock::time_point now) {
    if (isOver()) {
        return;
    }
    switch (event) {
        case TransportEvent::kConnected:
            if (state_ == RTC_PEER_CONNECTION_STATE_CONNECTING) {
                enter(RTC_PEER_CONNECTION_STATE_CONNECTED, now);
            }
            break;
        case TransportEvent::kClosedByFarEnd:
            enter(RTC_PEER_CONNECTION_STATE_CLOSED, now);
            break;
    }
}

void ConnectionMonitor::check(std::optional<Clock::time_point> lastPacket, Clock::time_point now) {
    // A far end that vanished before its first packet has been silent since it connected.
    const bool isSilent =
        lastPacket ? hasBeenSilent(kSilenceLimit, *lastPacket, now)
                   : state_ == RTC_PEER_CONNECTION_STATE_DISCONNECTED || hasBeenSilent(kSilenceLimit, since_, now);
    switch (state_) {
        case RTC_PEER_CONNECTION_STATE_CONNECTING:
            if (now - since_ >= kConnectingLimit) {
                enter(RTC_PEER_CONNECTION_STATE_FAILED, now);
            }
            break;
        case RTC_PEER_CONNECTION_STATE_CONNECTED:
            if (isSilent) {
                enter(RTC_PEER_CONNECTION_STATE_DISCONNECTED, now);
            }
            break;
        case RTC_PEER_CONNECTION_STATE_DISCONNECTED:
            if (!isSilent) {
                enter(RTC_PEER_CONNECTION_STATE_CONNECTED, now);
            } else if (hasBeenSilent(kDisconnectedLimit, since_, now)) {
                enter(RTC_PEER_CONNECTION_STATE_FAILED, now);
            }
            break;
        default:
            break;
    }
}

bool ConnectionMonitor::hasBeenSilent(std::chrono::seconds limit, Clock::time_point since,
                                      Clock::time_point now) const {
    return std::chrono::duration<double>(now - since) * silenceRate_ >= limit;
}

bool ConnectionMonitor::isOver() const {
    return state_ == RTC_PEER_CONNECTION_STATE_FAILED || state_ == RTC_PEER_CONNECTION_STATE_CLOSED;
}

void ConnectionMonitor::enter(RTC_PEER_CONNECTION_STATE state, Clock::time_point now) {
    state_ = state;
    since_ = now;
    report_(state);
}

}  // namespace zelrtc::hostsdk
