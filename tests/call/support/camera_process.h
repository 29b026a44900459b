/** @file camera_process.h The demo camera under test. */
#ifndef TESTS_CALL_SUPPORT_CAMERA_PROCESS_H
#define TESTS_CALL_SUPPORT_CAMERA_PROCESS_H

#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "child_process.h"
#include "scratch_folder.h"

namespace zelrtc::test {

/** What a call could leave behind in the camera's process. */
struct ProcessUsage {
    int threads;
    int descriptors;
};

/** Starts serving on a free port of 127.0.0.1; logs everything and records the viewers' audio. */
class CameraProcess {
public:
    explicit CameraProcess(const std::vector<std::string>& extraArguments = {});

    const std::string& url() const {
        return url_;
    }
    pid_t pid() const {
        return process_->pid();
    }

    void signal(int number) const {
        process_->signal(number);
    }

    /** The file with the call's recorded talk-back. */
    std::string recording(const std::string& callId) const;
    std::string log() const;
    /** Waits until the log holds the text. */
    bool logsEventually(const std::string& text, std::chrono::milliseconds limit) const;

    /** Waits until the camera has exited with 0; tells what it said if it has not. */
    ::testing::AssertionResult exits(std::chrono::milliseconds limit);

    /** Path of the call that was placed as the `number`th, from 1 on; waits until it has been. */
    std::string callPath(size_t number) const;

    nlohmann::json get(const std::string& path) const;
    httplib::Result post(const std::string& path, const std::string& body) const;
    httplib::Result remove(const std::string& path) const;

    /** Waits until this many calls are up, all of them connected. */
    bool hasConnectedCalls(size_t count) const;
    bool hasNoCalls(std::chrono::milliseconds limit) const;
    /** Waits until the oldest call has lasted this long. */
    bool firstCallLasts(std::chrono::duration<double> time) const;
    int runningEncoders() const;

    /** From the kernel, not from a request, so that the camera's idle HTTP threads and connections can go. */
    ProcessUsage usage() const;
    /** CPU seconds used so far. */
    double cpuSeconds() const;

private:
    ScratchFolder folder_;
    std::unique_ptr<ChildProcess> process_;
    std::string url_;
};

}  // namespace zelrtc::test

#endif
