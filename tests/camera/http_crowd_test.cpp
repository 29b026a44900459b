// Many connections at once, and a visitor who only wants to see the camera.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>
#include <vector>

#include "http/descriptors.h"
#include "http_support/raw_client.h"
#include "http_support/test_server.h"

namespace zelrtc::camera::test {
namespace {

constexpr size_t kCrowd = 1500;

bool isServed(int port, const std::string& from) {
    RawClient client(port, from);
    client.send(getRequest("/"));
    return bodyOf(client.receiveResponse()) == "hello";
}

class HttpCrowd : public ::testing::Test {
protected:
    void SetUp() override {
        const DescriptorBudget budget = reserveDescriptors(2 * kCrowd + 200);
        if (budget.allowed < budget.wanted) {
            GTEST_SKIP() << "this process may not open enough descriptors";
        }
    }

    // Opens connections that begin a request and never finish it.
    void gather(int port, const std::string& from) {
        for (size_t i = 0; i < kCrowd; ++i) {
            crowd_.emplace_back(port, from);
            crowd_.back().send("GET / HTTP/1.1\r\n");
        }
    }

    size_t openOnes() {
        size_t count = 0;
        for (RawClient& client : crowd_) {
            count += client.isOpen() ? 1U : 0U;
        }
        return count;
    }

    std::vector<RawClient> crowd_;
};

TEST_F(HttpCrowd, FromAnotherAddressIsKeptWithinItsLimit) {
    const HttpLimits limits = patientLimits();
    TestServer server(limits);
    gather(server.port(), "127.0.0.2");
    EXPECT_TRUE(isServed(server.port(), "127.0.0.1"));
    EXPECT_TRUE(comesTrue([&] { return openOnes() <= limits.connectionsPerAddress; })) << openOnes();
}

TEST_F(HttpCrowd, FromTheSameAddressDoesNotKeepAnybodyOut) {
    TestServer server;
    RawClient stream(server.port());
    stream.send(getRequest("/events"));
    server.source->add("first");
    stream.receiveUntil("first");
    gather(server.port(), "127.0.0.1");
    EXPECT_TRUE(isServed(server.port(), "127.0.0.1"));
    server.source->add("second");
    EXPECT_NE(stream.receiveUntil("second"), "");
    EXPECT_TRUE(stream.isOpen());
}

TEST_F(HttpCrowd, FromManyAddressesDoesNotKeepAnybodyOut) {
    const HttpLimits limits = patientLimits();
    TestServer server(limits);
    for (size_t i = 0; i < kCrowd; ++i) {
        crowd_.emplace_back(server.port(), "127.0.1." + std::to_string(i % 250 + 1));
    }
    EXPECT_TRUE(isServed(server.port(), "127.0.0.1"));
    EXPECT_TRUE(comesTrue([&] { return openOnes() <= limits.connections; })) << openOnes();
}

TEST_F(HttpCrowd, OfStreamsLeavesRoomForOtherAddresses) {
    HttpLimits limits = patientLimits();
    limits.connections = limits.connectionsPerAddress = 8;
    TestServer server(limits);
    server.source->add("event");
    for (size_t i = 0; i < limits.connections; ++i) {
        crowd_.emplace_back(server.port(), "127.0.0.2");
        crowd_.back().send(getRequest("/events"));
        ASSERT_EQ(statusOf(crowd_.back().receiveUntil("\r\n\r\n")), 200);
    }
    RawClient another(server.port(), "127.0.0.2");
    EXPECT_TRUE(another.isClosedByServer());
    EXPECT_TRUE(isServed(server.port(), "127.0.0.1"));
}

TEST_F(HttpCrowd, OfBlockedHandlersWaitsItsTurn) {
    HttpLimits limits = patientLimits();
    limits.handlers = 2;
    TestServer server(limits);
    for (size_t i = 0; i < 10; ++i) {
        crowd_.emplace_back(server.port());
        crowd_.back().send(getRequest("/wait"));
    }
    ASSERT_TRUE(server.door.hasWaiting(2));
    server.door.open();
    for (RawClient& client : crowd_) {
        EXPECT_EQ(bodyOf(client.receiveResponse()), "waited");
    }
}

TEST(Descriptors, AreReservedAsFarAsTheProcessMay) {
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    EXPECT_GE(reserveDescriptors(before.rlim_cur).allowed, before.rlim_cur);
    EXPECT_EQ(reserveDescriptors(1).allowed, reserveDescriptors(2).allowed);
    const DescriptorBudget budget = reserveDescriptors(before.rlim_max);
    EXPECT_EQ(budget.allowed, before.rlim_max);
    EXPECT_EQ(reserveDescriptors(before.rlim_max + 1).allowed, before.rlim_max);
    setrlimit(RLIMIT_NOFILE, &before);
}

}  // namespace
}  // namespace zelrtc::camera::test
