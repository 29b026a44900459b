// Event streams, and readers that do not read them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "http_support/raw_client.h"
#include "http_support/test_server.h"

namespace zelrtc::camera::test {
namespace {

using std::chrono::milliseconds;
using ::testing::HasSubstr;

constexpr milliseconds kBrief(150);

TEST(HttpEventStream, SendsWhatTheSourceHasAndWhatComes) {
    TestServer server;
    server.source->add("first\n\n");
    RawClient client(server.port());
    client.send(getRequest("/events"));
    EXPECT_THAT(client.receiveUntil("first\n\n"), HasSubstr("Content-Type: text/event-stream"));
    server.source->add("second\n\n");
    EXPECT_THAT(client.receiveUntil("second\n\n"), HasSubstr("second"));
    EXPECT_TRUE(client.isOpen());
}

TEST(HttpEventStream, EndsWithItsSource) {
    TestServer server;
    RawClient client(server.port());
    client.send(getRequest("/events") + getRequest("/"));
    client.receiveUntil("\r\n\r\n");
    server.source->add("last\n\n");
    server.source->end();
    EXPECT_THAT(client.receiveUntil("0\r\n\r\n"), HasSubstr("last"));
    EXPECT_EQ(bodyOf(client.receiveResponse()), "hello");
}

TEST(HttpEventStream, CarriesMoreThanFitsAtOnce) {
    TestServer server;
    server.source->add(std::string(200000, '-'));
    server.source->end();
    RawClient client(server.port());
    client.send(getRequest("/events"));
    const std::string received = client.receiveUntil("0\r\n\r\n");
    const size_t header = received.find("\r\n\r\n");
    EXPECT_EQ(std::count(received.begin() + static_cast<long>(header), received.end(), '-'), 200000);
}

TEST(HttpEventStream, ShowsSignsOfLifeWhileItIsQuiet) {
    HttpLimits limits = patientLimits();
    limits.quiet = kBrief;
    TestServer server(limits);
    RawClient client(server.port());
    client.send(getRequest("/events"));
    EXPECT_THAT(client.receiveUntil(": still here\n\n"), HasSubstr("still here"));
    EXPECT_THAT(client.receiveUntil(": still here\n\n"), HasSubstr("still here"));
}

TEST(HttpEventStream, IsDroppedWhenItsReaderTakesNothing) {
    HttpLimits limits = patientLimits();
    limits.response = kBrief;
    TestServer server(limits);
    const std::weak_ptr<TestSource> source = server.source;
    RawClient client(server.port(), "127.0.0.1", 4096);
    client.send(getRequest("/events"));
    client.receiveUntil("\r\n\r\n");
    server.source->add(std::string(8000000, 'x'));
    server.source.reset();
    EXPECT_TRUE(comesTrue([&source] { return source.expired(); }));
}

TEST(HttpEventStream, IsDroppedAtOnceWhenItsReaderHasGone) {
    TestServer server;
    const std::weak_ptr<TestSource> source = server.source;
    {
        RawClient client(server.port());
        client.send(getRequest("/events"));
        client.receiveUntil("\r\n\r\n");
    }
    server.source.reset();
    EXPECT_TRUE(comesTrue([&source] { return source.expired(); }));
}

TEST(HttpEventStream, IsDroppedWhenItsReaderOfTheOldKindHasGone) {
    TestServer server;
    const std::weak_ptr<TestSource> source = server.source;
    {
        RawClient client(server.port());
        client.send("GET /events HTTP/1.0\r\nHost: 127.0.0.1\r\n\r\n");
        client.receiveUntil("\r\n\r\n");
    }
    server.source.reset();
    EXPECT_TRUE(comesTrue([&source] { return source.expired(); }));
}

TEST(HttpEventStream, EndsForReadersOfTheOldKind) {
    TestServer server;
    RawClient client(server.port());
    client.send("GET /events HTTP/1.0\r\nHost: 127.0.0.1\r\n\r\n");
    client.receiveUntil("\r\n\r\n");
    server.source->add("last\n\n");
    server.source->end();
    EXPECT_EQ(client.receiveUntil("last\n\n"), "last\n\n");
    EXPECT_TRUE(client.isClosedByServer());
}

TEST(HttpEventStream, IsNotStartedForHead) {
    TestServer server;
    const std::weak_ptr<TestSource> source = server.source;
    RawClient client(server.port());
    client.send("HEAD /events HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    EXPECT_EQ(statusOf(client.receiveUntil("\r\n\r\n")), 200);
    server.source.reset();
    EXPECT_TRUE(comesTrue([&source] { return source.expired(); }));
}

}  // namespace
}  // namespace zelrtc::camera::test
