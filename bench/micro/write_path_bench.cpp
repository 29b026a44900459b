// Time and allocations of writing one frame, on one thread and on four at once.
#include <benchmark/benchmark.h>

#include <atomic>

#include "allocations.h"
#include "frame_writers.h"

namespace {

std::atomic<bool> failed{false};

constexpr int64_t kFrameIntervalUs = 33333;

void fail(benchmark::State& state, const char* reason) {
    failed = true;
    state.SkipWithError(reason);
}

void writeFrames(benchmark::State& state, const zelrtc::bench::NamedWriter& way) {
    static zelrtc::bench::Targets targets;
    int64_t presentationTs = 0;
    const zelrtc::test::AllocationCount allocations;
    for (auto unused : state) {
        (void) unused;
        if (way.writer(&targets, presentationTs) != way.result) {
            fail(state, "the write returned something else");
            break;
        }
        presentationTs += kFrameIntervalUs;
    }
    if (allocations.made() != 0) {
        fail(state, "writing a frame allocated memory");
    }
}

void registerBenchmarks() {
    for (const zelrtc::bench::NamedWriter& way : zelrtc::bench::frameWriters()) {
        const auto run = [&way](benchmark::State& state) { writeFrames(state, way); };
        benchmark::RegisterBenchmark(way.name, run)->Threads(1)->Threads(4);
    }
}

}  // namespace

int main(int argc, char** argv) {
    registerBenchmarks();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return failed ? 1 : 0;
}
