#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstring>
#include <thread>

#include "answering_side.h"
#include "switched_environment.h"
#include "webrtcbin_viewer.h"

namespace zelrtc::test {

using namespace std::chrono_literals;

namespace {

// Sends binding requests (RFC 8489) to a port of this host, as a viewer's ICE agent constantly does.
class Checks {
public:
    Checks(const std::string& address, int port) {
        ifaddrs* first = nullptr;
        EXPECT_EQ(getifaddrs(&first), 0);
        for (const ifaddrs* own = first; own != nullptr; own = own->ifa_next) {
            if (textOf(own->ifa_addr) == address) {
                connectTo(*own->ifa_addr, port);
            }
        }
        freeifaddrs(first);
        EXPECT_GE(socket_, 0) << "not connected to " << address;
        thread_ = std::thread([this] { run(); });
    }
    Checks(const Checks&) = delete;
    Checks& operator=(const Checks&) = delete;
    Checks(Checks&&) = delete;
    Checks& operator=(Checks&&) = delete;
    ~Checks() {
        stopped_ = true;
        thread_.join();
        close(socket_);
    }

private:
    static socklen_t sizeOf(const sockaddr& address) {
        return address.sa_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
    }

    // Without the interface name that a link-local address ends with.
    static std::string textOf(const sockaddr* address) {
        char text[NI_MAXHOST]{};
        if (address == nullptr || (address->sa_family != AF_INET && address->sa_family != AF_INET6)) {
            return "";
        }
        getnameinfo(address, sizeOf(*address), text, sizeof text, nullptr, 0, NI_NUMERICHOST);
        const std::string whole = text;
        return whole.substr(0, whole.find('%'));
    }

    void connectTo(const sockaddr& host, int port) {
        sockaddr_in6 place{};
        memcpy(&place, &host, sizeOf(host));
        // The port has the same offset in both kinds of address.
        place.sin6_port = htons(static_cast<uint16_t>(port));
        socket_ = socket(host.sa_family, SOCK_DGRAM, 0);
        EXPECT_EQ(connect(socket_, reinterpret_cast<const sockaddr*>(&place), sizeOf(host)), 0);
    }

    void run() const {
        constexpr std::array<uint8_t, 20> kRequest{0x00, 0x01, 0x00, 0x00, 0x21, 0x12, 0xa4, 0x42, 0x01};
        while (!stopped_) {
            send(socket_, kRequest.data(), kRequest.size(), 0);
            std::this_thread::sleep_for(100ms);
        }
    }

    int socket_ = -1;
    std::atomic<bool> stopped_{false};
    std::thread thread_;
};

}  // namespace

TEST(SignsOfLife, areTheChecksOfAViewerThatSendsNothingElse) {
    const FasterSilence faster;
    ASSERT_EQ(initKvsWebRtc(), STATUS_SUCCESS);
    AnsweringSide side;
    WebrtcbinViewer viewer("video audio");
    ASSERT_EQ(side.answer(viewer.makeOffer()), STATUS_SUCCESS);
    ASSERT_TRUE(side.waitForGathering());
    viewer.setAnswer(side.localSdp());
    ASSERT_TRUE(side.waitForState(RTC_PEER_CONNECTION_STATE_CONNECTED));
    RtcStats stats{};
    stats.requestedTypeOfStats = RTC_STATS_TYPE_LOCAL_CANDIDATE;
    ASSERT_EQ(rtcPeerConnectionGetMetrics(side.connection(), nullptr, &stats), STATUS_SUCCESS);
    const RtcIceCandidateStats& local = stats.rtcStatsObject.localIceCandidateStats;
    viewer.freeze();
    {
        const Checks checks(local.address, local.port);
        // Twice the silence that means DISCONNECTED.
        EXPECT_FALSE(side.waitForState(RTC_PEER_CONNECTION_STATE_DISCONNECTED, 6s));
    }
    EXPECT_TRUE(side.waitForState(RTC_PEER_CONNECTION_STATE_DISCONNECTED));
}

}  // namespace zelrtc::test
