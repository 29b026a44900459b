#include "call/call_releaser.h"

#include <algorithm>
#include <chrono>
#include <system_error>

namespace zelrtc::camera {

namespace {

bool hasEnded(const std::future<void>& release) {
    return release.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

}  // namespace

void CallReleaser::start(const std::function<void()>& release) {
    const std::lock_guard<std::mutex> lock(mutex_);
    releases_.erase(std::remove_if(releases_.begin(), releases_.end(), hasEnded), releases_.end());
    try {
        // What the release holds goes when it has ended, not when its future does.
        releases_.push_back(std::async(std::launch::async, [own = release]() mutable {
            own();
            own = nullptr;
        }));
    } catch (const std::system_error&) {
        release();
    }
}

void CallReleaser::wait() {
    std::vector<std::future<void>> releases;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        releases.swap(releases_);
    }
    for (const auto& release : releases) {
        release.wait();
    }
}

}  // namespace zelrtc::camera
