// Stopping the server while everything else goes on.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "http_support/raw_client.h"
#include "http_support/test_server.h"

namespace zelrtc::camera::test {
namespace {

using ::testing::HasSubstr;

// The limits of these servers are minutes, so waiting for any of them shows.
constexpr std::chrono::seconds kAtOnce(5);

TEST(HttpStop, WaitsForNobodyWhoHasAskedNothing) {
    TestServer server;
    RawClient idle(server.port());
    RawClient halfHeader(server.port());
    halfHeader.send("GET / HTTP/1.1\r\nHost: 127");
    RawClient halfBody(server.port());
    halfBody.send("POST /echo HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 10\r\n\r\nhalf");
    RawClient between(server.port());
    between.send(getRequest("/"));
    EXPECT_EQ(bodyOf(between.receiveResponse()), "hello");
    EXPECT_LT(server.stop(), kAtOnce);
    for (RawClient* client : {&idle, &halfHeader, &halfBody, &between}) {
        EXPECT_TRUE(client->isClosedByServer());
    }
}

TEST(HttpStop, StillAnswersRequestsThatAreComplete) {
    TestServer server;
    RawClient client(server.port());
    client.send(getRequest("/wait"));
    ASSERT_TRUE(server.door.hasWaiting(1));
    EXPECT_LT(server.stop(), kAtOnce);
    EXPECT_EQ(bodyOf(client.receiveResponse()), "waited");
    EXPECT_TRUE(client.isClosedByServer());
}

TEST(HttpStop, EndsStreamsAfterTheirLastEvent) {
    TestServer server;
    RawClient client(server.port());
    client.send(getRequest("/events"));
    client.receiveUntil("\r\n\r\n");
    server.source->add("last\n\n");
    EXPECT_LT(server.stop(), kAtOnce);
    EXPECT_THAT(client.receiveUntil("0\r\n\r\n"), HasSubstr("last"));
}

TEST(HttpStop, DoesNotWaitForReadersThatDoNotRead) {
    HttpLimits limits = patientLimits();
    limits.response = std::chrono::milliseconds(200);
    TestServer server(limits);
    RawClient client(server.port(), "127.0.0.1", 4096);
    client.send(getRequest("/events"));
    client.receiveUntil("\r\n\r\n");
    server.source->add(std::string(8000000, 'x'));
    EXPECT_LT(server.stop(), kAtOnce);
}

TEST(HttpStop, LetsNobodyInAnyMore) {
    TestServer server;
    server.stop();
    EXPECT_FALSE(RawClient(server.port()).isConnected());
}

TEST(HttpStop, MayComeBeforeTheServerRuns) {
    HttpServer server;
    server.bind("127.0.0.1", 0);
    server.stop();
    server.listen();
}

TEST(HttpStop, IsNotNeededByAServerThatNeverRan) {
    HttpServer server;
    const int port = server.bind("127.0.0.1", 0);
    EXPECT_THROW(HttpServer().bind("127.0.0.1", port), std::runtime_error);
}

}  // namespace
}  // namespace zelrtc::camera::test
