// Clients that keep the server waiting.

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "http_support/raw_client.h"
#include "http_support/test_server.h"

namespace zelrtc::camera::test {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kShort(150);

// Sends a byte now and then, each of them in time, until the server closes the connection.
bool isClosedWhileTrickling(RawClient& client) {
    return comesTrue([&client] {
        client.send("x");
        return !client.isOpen();
    });
}

TEST(HttpDeadlines, CloseAConnectionThatAsksNothing) {
    HttpLimits limits = patientLimits();
    limits.idle = kShort;
    TestServer server(limits);
    const auto start = Clock::now();
    RawClient client(server.port());
    EXPECT_TRUE(client.isClosedByServer());
    EXPECT_GE(Clock::now() - start, kShort);
}

TEST(HttpDeadlines, CloseAConnectionThatAsksNothingMore) {
    HttpLimits limits = patientLimits();
    limits.idle = kShort;
    TestServer server(limits);
    RawClient client(server.port());
    client.send(getRequest("/"));
    EXPECT_EQ(bodyOf(client.receiveResponse()), "hello");
    EXPECT_TRUE(client.isClosedByServer());
}

TEST(HttpDeadlines, CloseOneWhoseFirstLineTrickles) {
    HttpLimits limits = patientLimits();
    limits.idle = kShort;
    TestServer server(limits);
    RawClient client(server.port());
    EXPECT_TRUE(isClosedWhileTrickling(client));
}

TEST(HttpDeadlines, CloseOneWhoseHeaderTrickles) {
    HttpLimits limits = patientLimits();
    limits.header = kShort;
    TestServer server(limits);
    RawClient client(server.port());
    client.send("GET / HTTP/1.1\r\nX: ");
    EXPECT_TRUE(isClosedWhileTrickling(client));
}

TEST(HttpDeadlines, CloseOneWhoseBodyTrickles) {
    HttpLimits limits = patientLimits();
    limits.body = kShort;
    TestServer server(limits);
    RawClient client(server.port());
    client.send("POST /echo HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 60000\r\n\r\n");
    EXPECT_TRUE(isClosedWhileTrickling(client));
}

TEST(HttpDeadlines, CloseOneWhoseRefusedBodyTrickles) {
    HttpLimits limits = patientLimits();
    limits.body = kShort;
    TestServer server(limits);
    RawClient client(server.port());
    client.send("POST /nowhere HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 60000\r\n\r\n");
    EXPECT_TRUE(isClosedWhileTrickling(client));
}

TEST(HttpDeadlines, DoNotCloseOneThatWaitsForItsResponse) {
    HttpLimits limits = patientLimits();
    limits.idle = limits.header = limits.body = limits.response = kShort;
    TestServer server(limits);
    RawClient waiting(server.port());
    waiting.send(getRequest("/wait"));
    ASSERT_TRUE(server.door.hasWaiting(1));
    RawClient idle(server.port());
    ASSERT_TRUE(idle.isClosedByServer());
    server.door.open();
    EXPECT_EQ(bodyOf(waiting.receiveResponse()), "waited");
}

TEST(HttpDeadlines, CloseOneThatDoesNotReadItsResponses) {
    HttpLimits limits = patientLimits();
    limits.response = kShort;
    TestServer server(limits);
    RawClient client(server.port(), "127.0.0.1", 4096);
    const std::string request = postRequest("/echo", std::string(60000, 'x'));
    bool isOpen = true;
    for (int i = 0; i < 1000 && isOpen; ++i) {
        isOpen = client.send(request);
    }
    EXPECT_FALSE(isOpen);
}

}  // namespace
}  // namespace zelrtc::camera::test
