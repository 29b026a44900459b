/** @file call_releaser.h Where calls end: each on a thread of its own, so that none waits for another. */
#ifndef APPS_CAMERA_CALL_CALL_RELEASER_H
#define APPS_CAMERA_CALL_CALL_RELEASER_H

#include <functional>
#include <future>
#include <mutex>
#include <vector>

namespace zelrtc::camera {

/** Destroying a connected session can hold its thread up for more than two seconds: the SDK takes that long. */
class CallReleaser {
public:
    CallReleaser() = default;

    /** Waits as wait does. */
    ~CallReleaser() = default;
    CallReleaser(const CallReleaser&) = delete;
    CallReleaser& operator=(const CallReleaser&) = delete;

    /** Runs `release`, which must not throw, on a thread of its own; on the caller's if there is none to be had. */
    void start(const std::function<void()>& release);

    /** Returns when everything that was started has ended. */
    void wait();

private:
    std::mutex mutex_;
    std::vector<std::future<void>> releases_;
};

}  // namespace zelrtc::camera

#endif
