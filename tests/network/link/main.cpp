// zelrtc-link: joins two network namespaces by a link whose quality is controlled by commands on standard input.
#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <queue>
#include <string>
#include <vector>

#include "link_command.h"
#include "link_model.h"
#include "tun_device.h"

namespace {

using zelrtc::link::Duration;
using zelrtc::link::Time;

Time now() {
    return std::chrono::time_point_cast<Duration>(std::chrono::steady_clock::now());
}

struct PacketInFlight {
    Time deliverAt;
    uint64_t number;
    std::vector<uint8_t> bytes;
    bool operator>(const PacketInFlight& other) const {
        return deliverAt != other.deliverAt ? deliverAt > other.deliverAt : number > other.number;
    }
};

// One direction: delivers what leaves one device to the other when it is due.
class Direction {
public:
    Direction(zelrtc::link::TunDevice* from, zelrtc::link::TunDevice* to, uint64_t seed)
        : from_(from), to_(to), model_(seed) {
    }

    void setConditions(const zelrtc::link::Conditions& conditions) {
        model_.setConditions(conditions);
    }

    void takeIn() {
        while (auto packet = from_->read()) {
            const auto deliverAt = model_.admit(now(), packet->size());
            if (deliverAt) {
                inFlight_.push({*deliverAt, number_++, std::move(*packet)});
            }
        }
    }

    void deliverDue() {
        while (!inFlight_.empty() && inFlight_.top().deliverAt <= now()) {
            to_->write(inFlight_.top().bytes);
            inFlight_.pop();
        }
    }

    Duration untilNext() const {
        return inFlight_.empty() ? Duration::max() : inFlight_.top().deliverAt - now();
    }

    const zelrtc::link::Counters& counters() const {
        return model_.counters();
    }

private:
    zelrtc::link::TunDevice* from_;
    zelrtc::link::TunDevice* to_;
    zelrtc::link::LinkModel model_;
    uint64_t number_ = 0;
    std::priority_queue<PacketInFlight, std::vector<PacketInFlight>, std::greater<>> inFlight_;
};

void printCounters(const char* name, const zelrtc::link::Counters& counters, const char* end) {
    std::printf(
        R"("%s":{"delivered":%llu,"bytes":%llu,"lost":%llu,"overflowed":%llu,"whileDown":%llu,"reordered":%llu}%s)",
        name, static_cast<unsigned long long>(counters.delivered), static_cast<unsigned long long>(counters.bytes),
        static_cast<unsigned long long>(counters.lost), static_cast<unsigned long long>(counters.overflowed),
        static_cast<unsigned long long>(counters.whileDown), static_cast<unsigned long long>(counters.reordered), end);
}

class Link {
public:
    Link(zelrtc::link::TunDevice* left, zelrtc::link::TunDevice* right, uint64_t seed)
        : descriptors_{left->descriptor(), right->descriptor()},
          rightward_(left, right, seed),
          leftward_(right, left, seed + 1) {
    }

    // Returns when standard input ends.
    void run() {
        pollfd polled[] = {{STDIN_FILENO, POLLIN, 0}, {descriptors_[0], POLLIN, 0}, {descriptors_[1], POLLIN, 0}};
        bool isOpen = true;
        while (isOpen) {
            const timespec timeout = untilNext();
            ppoll(polled, 3, &timeout, nullptr);
            rightward_.takeIn();
            leftward_.takeIn();
            rightward_.deliverDue();
            leftward_.deliverDue();
            if (polled[0].revents != 0) {
                isOpen = obey();
            }
        }
    }

private:
    timespec untilNext() const {
        constexpr int64_t kNanosecondsPerSecond = 1000000000;
        const int64_t most = kNanosecondsPerSecond;
        const int64_t wait = std::min({rightward_.untilNext().count(), leftward_.untilNext().count(), most});
        const int64_t bounded = std::max<int64_t>(wait, 0);
        return {bounded / kNanosecondsPerSecond, bounded % kNanosecondsPerSecond};
    }

    // False at the end of standard input.
    bool obey() {
        char text[4096];
        const ssize_t size = read(STDIN_FILENO, text, sizeof(text));
        if (size <= 0) {
            return false;
        }
        unread_.append(text, static_cast<size_t>(size));
        for (size_t end = unread_.find('\n'); end != std::string::npos; end = unread_.find('\n')) {
            obeyLine(unread_.substr(0, end));
            unread_.erase(0, end + 1);
        }
        return true;
    }

    void obeyLine(const std::string& line) {
        if (line == "counters") {
            std::printf("{");
            printCounters("leftToRight", rightward_.counters(), ",");
            printCounters("rightToLeft", leftward_.counters(), "}\n");
        } else {
            const std::string error = zelrtc::link::applyCommand(line, &conditions_);
            rightward_.setConditions(conditions_);
            leftward_.setConditions(conditions_);
            std::puts(error.empty() ? "ok" : error.c_str());
        }
        std::fflush(stdout);
    }

    std::string unread_;
    int descriptors_[2];
    zelrtc::link::Conditions conditions_;
    Direction rightward_;
    Direction leftward_;
};

}  // namespace

int main(int argc, char** argv) try {
    CLI::App app{"Joins two network namespaces by a link of adjustable quality"};
    std::string left;
    std::string right;
    std::string interfaceName = "link0";
    uint64_t seed = 1;
    app.add_option("--left", left, "network namespace of one end")->required();
    app.add_option("--right", right, "network namespace of the other end")->required();
    app.add_option("--interface", interfaceName, "name of the interface in both")->capture_default_str();
    app.add_option("--seed", seed, "the same seed makes the same decisions")->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    zelrtc::link::TunDevice leftDevice(left, interfaceName);
    zelrtc::link::TunDevice rightDevice(right, interfaceName);
    std::puts("ready");
    std::fflush(stdout);
    Link(&leftDevice, &rightDevice, seed).run();
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "zelrtc-link: %s\n", error.what());
    return 1;
}
