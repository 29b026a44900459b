// However a call ends, the camera ends it in order and leaves nothing behind.

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <ostream>
#include <regex>

#include "camera_process.h"
#include "sdk_limits.h"
#include "switched_environment.h"
#include "viewer_process.h"
#include "waiting.h"

namespace zelrtc::test {
namespace {

using namespace std::chrono_literals;

using Arguments = std::vector<std::string>;

size_t occurrences(const std::string& text, const std::string& pattern) {
    const std::regex wanted(pattern);
    return static_cast<size_t>(
        std::distance(std::sregex_iterator(text.begin(), text.end(), wanted), std::sregex_iterator()));
}

/** The positions of a call's last three lines in the log. */
std::vector<size_t> endingOf(const std::string& log, const std::string& id) {
    return {log.find("session " + id + " teminate."), log.find("session: " + id + ", releasing"),
            log.find("session: " + id + ", released")};
}

void expectEndedInOrder(const std::string& log, const std::string& id) {
    const std::vector<size_t> places = endingOf(log, id);
    EXPECT_NE(places.back(), std::string::npos) << "call " << id << " was not released";
    EXPECT_TRUE(std::is_sorted(places.begin(), places.end())) << "call " << id << " ended out of order";
}

TEST(InterruptedCamera, EndsItsCallsInOrderAndExitsInTime) {
    CameraProcess camera;
    ViewerProcess first(camera.url(), {"--keep"});
    ViewerProcess second(camera.url(), {"--keep", "--no-trickle"});
    ASSERT_TRUE(camera.hasConnectedCalls(2));

    camera.signal(SIGINT);
    EXPECT_TRUE(
        eventually([&] { return occurrences(camera.log(), "session: [0-9]+, released") == 2; }, sdkLimit("exit")));
    // What follows is the end of a process without calls; a sanitizer looks for leaks in it.
    EXPECT_TRUE(camera.exits(sdkLimit("exit")));

    const std::string log = camera.log();
    for (ViewerProcess* viewer : {&first, &second}) {
        const auto outcome = viewer->finish(sdkLimit("release"));
        expectEndedInOrder(log, outcome.call().at("id"));
        EXPECT_NE(outcome.call().at("ended"), nullptr) << outcome.report.dump(2);
    }
}

TEST(InterruptedCamera, ExitsWithoutAnyCallToo) {
    CameraProcess camera;
    camera.signal(SIGTERM);
    EXPECT_TRUE(camera.exits(sdkLimit("exit")));
}

/** A connection that sends this text and then waits. */
class IdleConnection {
public:
    IdleConnection(const std::string& url, const std::string& text) : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<uint16_t>(std::stoi(url.substr(url.rfind(':') + 1))));
        const bool connected = connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        EXPECT_TRUE(connected && send(socket_, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
    }
    ~IdleConnection() {
        close(socket_);
    }
    IdleConnection(const IdleConnection&) = delete;
    IdleConnection& operator=(const IdleConnection&) = delete;

private:
    const int socket_;
};

TEST(InterruptedCamera, IsNotHeldUpByConnectionsThatSayNothing) {
    CameraProcess camera;
    const int before = camera.usage().descriptors;
    const IdleConnection silent(camera.url(), "");
    const IdleConnection halfway(camera.url(), "POST /calls HTTP/1.1\r\nHost: camera\r\nContent-Length: 99\r\n\r\n{");
    ASSERT_TRUE(eventually([&] { return camera.usage().descriptors >= before + 2; }, 15s));
    camera.signal(SIGTERM);
    EXPECT_TRUE(camera.exits(sdkLimit("exit")));
}

TEST(HungUpCall, TellsTheViewerWhyWhenSomeoneElseEndsIt) {
    CameraProcess camera;
    ViewerProcess viewer(camera.url(), {"--keep"});
    ASSERT_TRUE(camera.hasConnectedCalls(1));
    ASSERT_TRUE(camera.firstCallLasts(2s));

    const auto removed = camera.remove(camera.callPath(1));
    ASSERT_TRUE(removed);
    EXPECT_EQ(removed->status, 204);
    EXPECT_TRUE(camera.hasNoCalls(sdkLimit("release")));
    const auto outcome = viewer.finish(sdkLimit("release"));
    EXPECT_EQ(outcome.status, 0) << outcome.report.dump(2);
    EXPECT_TRUE(outcome.call().at("ended").is_string());
}

TEST(KilledViewer, IsNoticed) {
    const FasterSilence faster;
    CameraProcess camera;
    ViewerProcess viewer(camera.url(), {"--keep"});
    ASSERT_TRUE(camera.hasConnectedCalls(1));
    viewer.process().signal(SIGKILL);
    EXPECT_TRUE(camera.hasNoCalls(sdkLimit("vanished")));
    EXPECT_TRUE(camera.logsEventually("released", sdkLimit("release")));
}

struct Departure {
    const char* name;
    Arguments arguments;
};

void PrintTo(const Departure& departure, std::ostream* out) {
    *out << departure.name;
}

// Threads and connections of finished requests linger, so this takes the least once it has stopped falling.
ProcessUsage settledUsage(const CameraProcess& camera) {
    constexpr auto kSettled = 6s;
    ProcessUsage least = camera.usage();
    auto changed = std::chrono::steady_clock::now();
    eventually(
        [&] {
            const ProcessUsage now = camera.usage();
            if (now.threads < least.threads || now.descriptors < least.descriptors) {
                least = {std::min(least.threads, now.threads), std::min(least.descriptors, now.descriptors)};
                changed = std::chrono::steady_clock::now();
            }
            return std::chrono::steady_clock::now() - changed >= kSettled;
        },
        60s);
    return least;
}

class LeavesNothing : public ::testing::TestWithParam<Departure> {
protected:
    // The first call of a process leaves things for good: certificate, thread pools, sockets of the registry.
    void warmUp() {
        const auto outcome = view(camera_.url(), {"--seconds", "1"});
        ASSERT_EQ(outcome.status, 0) << outcome.report.dump(2);
        view(camera_.url(), {"--seconds", "1", "--no-trickle"});
        ASSERT_TRUE(camera_.hasNoCalls(sdkLimit("release")));
        ASSERT_TRUE(eventually([this] { return camera_.runningEncoders() == 0; }, 10s));
    }

    const FasterSilence faster_;
    CameraProcess camera_;
};

INSTANTIATE_TEST_SUITE_P(
    After, LeavesNothing,
    ::testing::Values(Departure{"HangingUp", {"--seconds", "1"}},
                      Departure{"HangingUpWithACompleteAnswer", {"--seconds", "1", "--no-trickle"}},
                      Departure{"LeavingAfterTheOffer", {"--abort-at", "offer"}},
                      Departure{"LeavingAfterTheCompleteOffer", {"--abort-at", "offer", "--no-trickle"}},
                      Departure{"LeavingWhileGathering", {"--abort-at", "gathering"}},
                      Departure{"LeavingInTheHandshake", {"--abort-at", "dtls"}},
                      Departure{"LeavingInTheMiddle", {"--abort-at", "0.5"}}),
    [](const auto& departure) { return departure.param.name; });

TEST_P(LeavesNothing, NoCallThreadDescriptorOrEncoder) {
    ASSERT_NO_FATAL_FAILURE(warmUp());
    const ProcessUsage before = settledUsage(camera_);
    Arguments arguments = GetParam().arguments;
    arguments.insert(arguments.end(), {"--calls", "3", "--no-decode"});
    view(camera_.url(), arguments);

    EXPECT_TRUE(camera_.hasNoCalls(sdkLimit("neverConnected")));
    EXPECT_TRUE(eventually([this] { return camera_.runningEncoders() == 0; }, 10s));
    ProcessUsage after{};
    EXPECT_TRUE(eventually(
        [&] {
            after = camera_.usage();
            return after.threads <= before.threads && after.descriptors <= before.descriptors;
        },
        20s))
        << after.threads << " threads after " << before.threads << ", " << after.descriptors << " descriptors after "
        << before.descriptors;
    const std::string log = camera_.log();
    EXPECT_EQ(occurrences(log, "session: [0-9]+, releasing"), 5U);
    EXPECT_EQ(occurrences(log, "session: [0-9]+, released"), 5U);
}

}  // namespace
}  // namespace zelrtc::test
