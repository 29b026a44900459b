#include "connection/connection_monitor.h"

#include <gtest/gtest.h>

#include <vector>

namespace zelrtc::test {

using zelrtc::hostsdk::ConnectionMonitor;
using zelrtc::hostsdk::TransportEvent;
using namespace std::chrono_literals;

namespace {

class ReportedStates : public testing::Test {
protected:
    using States = std::vector<RTC_PEER_CONNECTION_STATE>;

    void start() {
        monitor.start(now);
    }

    void connect() {
        start();
        monitor.onTransport(TransportEvent::kConnected, now);
        lastPacket = now;
    }

    void pass(std::chrono::milliseconds time) {
        now += time;
        monitor.check(lastPacket, now);
    }

    void receivePacket() {
        lastPacket = now;
    }

    ConnectionMonitor::Clock::time_point now{1000s};
    std::optional<ConnectionMonitor::Clock::time_point> lastPacket;
    States states;
    ConnectionMonitor monitor{[this](RTC_PEER_CONNECTION_STATE state) { states.push_back(state); }};
};

constexpr RTC_PEER_CONNECTION_STATE kConnecting = RTC_PEER_CONNECTION_STATE_CONNECTING;
constexpr RTC_PEER_CONNECTION_STATE kConnected = RTC_PEER_CONNECTION_STATE_CONNECTED;
constexpr RTC_PEER_CONNECTION_STATE kDisconnected = RTC_PEER_CONNECTION_STATE_DISCONNECTED;
constexpr RTC_PEER_CONNECTION_STATE kFailed = RTC_PEER_CONNECTION_STATE_FAILED;
constexpr RTC_PEER_CONNECTION_STATE kClosed = RTC_PEER_CONNECTION_STATE_CLOSED;

}  // namespace

TEST_F(ReportedStates, ofAGoodCallAreConnectingConnectedAndClosed) {
    connect();
    monitor.onTransport(TransportEvent::kClosedByFarEnd, now);
    EXPECT_EQ(states, (States{kConnecting, kConnected, kClosed}));
}

TEST_F(ReportedStates, comeOncePerChange) {
    connect();
    start();
    monitor.onTransport(TransportEvent::kConnected, now);
    monitor.onTransport(TransportEvent::kClosedByFarEnd, now);
    monitor.onTransport(TransportEvent::kClosedByFarEnd, now);
    EXPECT_EQ(states, (States{kConnecting, kConnected, kClosed}));
}

TEST_F(ReportedStates, areNoneBeforeTheAnswer) {
    monitor.onTransport(TransportEvent::kConnected, now);
    pass(1h);
    EXPECT_TRUE(states.empty());
}

TEST_F(ReportedStates, endWithFailedAfterTenSecondsWithoutAnAnswer) {
    start();
    pass(9900ms);
    EXPECT_EQ(states, (States{kConnecting}));
    pass(100ms);
    monitor.onTransport(TransportEvent::kConnected, now);
    EXPECT_EQ(states, (States{kConnecting, kFailed}));
}

TEST_F(ReportedStates, giveAFarEndThatGetsTheAnswerLateItsTenSeconds) {
    start();
    pass(9900ms);
    monitor.restartConnecting(now);
    pass(9900ms);
    EXPECT_EQ(states, (States{kConnecting}));
    pass(100ms);
    EXPECT_EQ(states, (States{kConnecting, kFailed}));
}

TEST_F(ReportedStates, countNoSilenceAnewWhenConnectingIsOver) {
    connect();
    pass(29900ms);
    monitor.restartConnecting(now);
    pass(100ms);
    EXPECT_EQ(states, (States{kConnecting, kConnected, kDisconnected}));
}

TEST_F(ReportedStates, showSilenceAfterThirtySeconds) {
    connect();
    pass(29900ms);
    EXPECT_EQ(states, (States{kConnecting, kConnected}));
    pass(100ms);
    EXPECT_EQ(states, (States{kConnecting, kConnected, kDisconnected}));
}

TEST_F(ReportedStates, comeBackToConnectedWithTheNextPacket) {
    connect();
    pass(30s);
    receivePacket();
    pass(250ms);
    EXPECT_EQ(states, (States{kConnecting, kConnected, kDisconnected, kConnected}));
}

TEST_F(ReportedStates, endWithFailedAfterFifteenSecondsOfSilenceMore) {
    connect();
    pass(30s);
    pass(14900ms);
    EXPECT_EQ(states.back(), kDisconnected);
    pass(100ms);
    EXPECT_EQ(states.back(), kFailed);
    receivePacket();
    pass(250ms);
    EXPECT_EQ(states.back(), kFailed);
}

TEST_F(ReportedStates, countTheSilenceOfAFarEndThatNeverSpokeFromTheConnection) {
    connect();
    lastPacket.reset();
    pass(29900ms);
    EXPECT_EQ(states.back(), kConnected);
    pass(100ms);
    EXPECT_EQ(states.back(), kDisconnected);
    pass(14900ms);
    EXPECT_EQ(states.back(), kDisconnected);
    pass(100ms);
    EXPECT_EQ(states.back(), kFailed);
}

TEST_F(ReportedStates, comeSoonerWhenSilencePassesFasterButConnectingDoesNot) {
    ConnectionMonitor faster([this](RTC_PEER_CONNECTION_STATE state) { states.push_back(state); }, 10);
    faster.start(now);
    faster.check(std::nullopt, now + 9900ms);
    EXPECT_EQ(states, (States{kConnecting}));
    faster.onTransport(TransportEvent::kConnected, now);
    faster.check(now, now + 2990ms);
    EXPECT_EQ(states, (States{kConnecting, kConnected}));
    faster.check(now, now + 3s);
    faster.check(now, now + 4490ms);
    EXPECT_EQ(states, (States{kConnecting, kConnected, kDisconnected}));
    faster.check(now, now + 4500ms);
    EXPECT_EQ(states, (States{kConnecting, kConnected, kDisconnected, kFailed}));
}

}  // namespace zelrtc::test
