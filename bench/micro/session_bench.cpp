// What the session itself adds to each step of a call, without the SDK; the argument is the number of ICE servers.
#include <benchmark/benchmark.h>

#include <chrono>
#include <optional>
#include <string>

#include "allocations.h"
#include "stub_sdk.h"
#include "zelwebrtc_session.h"

namespace {

// As long as a browser's offer with one video and one audio section.
const std::string kOffer = R"({"type":"offer","sdp":")" + std::string(4500, 'a') + "\"}";
const std::string kCandidate =
    R"({"candidate":"candidate:1 1 udp 2130706431 192.0.2.2 45020 typ host generation 0","sdpMid":"0","sdpMLineIndex":0})";

// As long as a usual answer with two media sections and five candidates.
constexpr UINT32 kAnswerLength = 2400;

ZelRtcSessionConfig configuration(int64_t servers) {
    ZelRtcSessionConfig config;
    config.trickleIce = true;
    for (int64_t i = 0; i < servers; i++) {
        config.iceServers.push_back({"turn:turn" + std::to_string(i) + ".example.net:3478?transport=udp",
                                     "a user name as a service makes it", "a credential as a service makes it"});
    }
    return config;
}

// Times the measured part of an iteration and counts its allocations.
class Stopwatch {
public:
    explicit Stopwatch(benchmark::State* state) : state_(state) {
    }
    ~Stopwatch() {
        state_->counters["allocations"] =
            benchmark::Counter(static_cast<double>(allocations_), benchmark::Counter::kAvgIterations);
    }
    template <typename Action>
    void time(const Action& action) {
        const zelrtc::test::AllocationCount allocations;
        const auto start = std::chrono::steady_clock::now();
        action();
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        allocations_ += allocations.made();
        state_->SetIterationTime(elapsed.count());
    }

private:
    benchmark::State* state_;
    uint64_t allocations_ = 0;
};

void constructSession(benchmark::State& state) {
    const ZelRtcSessionConfig config = configuration(state.range(0));
    ZelWebrtcSessionCallback callback;
    Stopwatch stopwatch(&state);
    for (auto unused : state) {
        (void) unused;
        std::optional<ZelRtcSession> session;
        stopwatch.time([&] { session.emplace(1, config, &callback); });
    }
}

void initSession(benchmark::State& state) {
    const ZelRtcSessionConfig config = configuration(state.range(0));
    ZelWebrtcSessionCallback callback;
    Stopwatch stopwatch(&state);
    for (auto unused : state) {
        (void) unused;
        ZelRtcSession session(1, config, &callback);
        stopwatch.time([&] { session.init(kOffer); });
    }
}

void destroySession(benchmark::State& state) {
    const ZelRtcSessionConfig config = configuration(state.range(0));
    ZelWebrtcSessionCallback callback;
    Stopwatch stopwatch(&state);
    for (auto unused : state) {
        (void) unused;
        std::optional<ZelRtcSession> session;
        session.emplace(1, config, &callback);
        session->init(kOffer);
        stopwatch.time([&] { session.reset(); });
    }
}

// A session in a call, for steps that a call repeats.
class Call {
public:
    Call() : session(1, configuration(0), &callback_) {
        session.init(kOffer);
    }

private:
    ZelWebrtcSessionCallback callback_;

public:
    ZelRtcSession session;
};

void addCandidate(benchmark::State& state) {
    Call call;
    Stopwatch stopwatch(&state);
    for (auto unused : state) {
        (void) unused;
        stopwatch.time([&] { call.session.addRemoteCandidate(kCandidate); });
    }
}

void reportCandidate(benchmark::State& state) {
    const Call call;
    std::string candidate = kCandidate;
    Stopwatch stopwatch(&state);
    for (auto unused : state) {
        (void) unused;
        stopwatch.time([&] { stubHandlers.onIceCandidate(stubHandlers.customData, candidate.data()); });
    }
}

void reportState(benchmark::State& state, RTC_PEER_CONNECTION_STATE newState) {
    const Call call;
    Stopwatch stopwatch(&state);
    for (auto unused : state) {
        (void) unused;
        stopwatch.time([&] { stubHandlers.onStateChange(stubHandlers.customData, newState); });
    }
}

BENCHMARK(constructSession)->Name("construct")->Arg(0)->Arg(5)->Arg(21)->UseManualTime();
BENCHMARK(initSession)->Name("init")->Arg(0)->Arg(5)->Arg(21)->UseManualTime();
BENCHMARK(destroySession)->Name("destroy")->Arg(0)->Arg(5)->Arg(21)->UseManualTime();
BENCHMARK(addCandidate)->Name("candidate of the viewer")->UseManualTime();
BENCHMARK(reportCandidate)->Name("candidate to the viewer")->UseManualTime();
BENCHMARK_CAPTURE(reportState, connecting, RTC_PEER_CONNECTION_STATE_CONNECTING)
    ->Name("state connecting")
    ->UseManualTime();
BENCHMARK_CAPTURE(reportState, connected, RTC_PEER_CONNECTION_STATE_CONNECTED)
    ->Name("state connected")
    ->UseManualTime();

}  // namespace

int main(int argc, char** argv) {
    stubAnswerLength = kAnswerLength;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
