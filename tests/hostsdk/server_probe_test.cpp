#include "connection/server_probe.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "stun_server.h"
#include "text/ice_server_url.h"

namespace zelrtc::test {

using zelrtc::hostsdk::IceServerUrl;
using zelrtc::hostsdk::ServerProbe;
using namespace std::chrono_literals;

namespace {

IceServerUrl url(const std::string& text) {
    return zelrtc::hostsdk::parseIceServerUrl(text).value();
}

bool eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + 20s;
    while (!condition() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(1ms);
    }
    return condition();
}

// A loopback port that accepts everything and answers nothing.
class SilentPort {
public:
    explicit SilentPort(int type) : socket_(socket(AF_INET, type, 0)) {
        place_.sin_family = AF_INET;
        place_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof place_;
        auto* const place = reinterpret_cast<sockaddr*>(&place_);
        EXPECT_TRUE(bind(socket_, place, size) == 0 && getsockname(socket_, place, &size) == 0);
        if (type == SOCK_STREAM) {
            EXPECT_EQ(listen(socket_, 1), 0);
        }
    }
    SilentPort(const SilentPort&) = delete;
    SilentPort& operator=(const SilentPort&) = delete;
    SilentPort(SilentPort&&) = delete;
    SilentPort& operator=(SilentPort&&) = delete;
    ~SilentPort() {
        close(socket_);
    }

    std::string address() const {
        return "127.0.0.1:" + std::to_string(ntohs(place_.sin_port));
    }

private:
    int socket_;
    sockaddr_in place_{};
};

}  // namespace

TEST(ServerProbe, hasAllAnswersWhenThereIsNoServer) {
    EXPECT_TRUE(ServerProbe({}).haveAllAnswered());
}

TEST(ServerProbe, countsTheExchangeWithAServer) {
    const StunServer server;
    const ServerProbe probe({url(server.url())});
    ASSERT_TRUE(eventually([&] { return probe.haveAllAnswered(); }));
    EXPECT_GE(probe.exchange(0).requests, 1U);
    EXPECT_EQ(probe.exchange(0).responses, 1U);
    EXPECT_GT(probe.exchange(0).roundTrip, 0ns);
    EXPECT_LT(probe.exchange(0).roundTrip, 10s);
}

TEST(ServerProbe, asksASilentServerAgain) {
    const SilentPort silent(SOCK_DGRAM);
    const StunServer server;
    const ServerProbe probe({url("stun:" + silent.address()), url(server.url())});
    ASSERT_TRUE(eventually([&] { return probe.exchange(0).requests >= 2 && probe.exchange(1).responses == 1; }));
    EXPECT_EQ(probe.exchange(0).responses, 0U);
    EXPECT_FALSE(probe.haveAllAnswered());
}

TEST(ServerProbe, takesAConnectionForAnAnswerOverTcp) {
    const SilentPort port(SOCK_STREAM);
    const ServerProbe probe({url("turn:" + port.address() + "?transport=tcp")});
    ASSERT_TRUE(eventually([&] { return probe.haveAllAnswered(); }));
    EXPECT_EQ(probe.exchange(0).requests, 0U);
}

TEST(ServerProbe, doesNotTakeARefusedConnectionForAnAnswer) {
    std::string address;
    {
        const SilentPort port(SOCK_STREAM);
        address = port.address();
    }
    const StunServer server;
    const ServerProbe probe({url("turn:" + address + "?transport=tcp"), url(server.url())});
    ASSERT_TRUE(eventually([&] { return probe.exchange(1).responses == 1; }));
    EXPECT_FALSE(probe.haveAllAnswered());
}

}  // namespace zelrtc::test
