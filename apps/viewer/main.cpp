// zelrtc-viewer: calls a camera and prints what arrived.

#include <gst/gst.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <iostream>
#include <thread>

#include "options.h"
#include "report.h"
#include "viewer_call.h"

namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may only set a lock-free flag");

void onSignal(int /*number*/) {
    interrupted = true;
}

void runAll(std::deque<zelrtc::viewer::ViewerCall>& calls) {
    std::vector<std::thread> threads;
    threads.reserve(calls.size());
    for (zelrtc::viewer::ViewerCall& call : calls) {
        threads.emplace_back([&call] { call.run(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace

int main(int argc, char** argv) try {
    const zelrtc::viewer::Options options = zelrtc::viewer::parseOptions(argc, argv);
    gst_init(nullptr, nullptr);
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);

    std::deque<zelrtc::viewer::ViewerCall> calls;
    for (int i = 0; i < options.calls; ++i) {
        calls.emplace_back(options, interrupted);
    }
    runAll(calls);

    std::vector<zelrtc::viewer::CallRecord> records;
    records.reserve(calls.size());
    for (const zelrtc::viewer::ViewerCall& call : calls) {
        records.push_back(call.record());
    }
    std::cout << (options.json ? reportAsJson(records, options) : reportAsText(records, options)) << std::flush;
    const int status = exitStatus(records, options);
    if (options.abortPoint != zelrtc::viewer::AbortPoint::kNever) {
        std::_Exit(status);  // an orderly exit would say goodbye to the camera
    }
    return status;
} catch (const zelrtc::viewer::StartRefused& refused) {
    return refused.status;
}
