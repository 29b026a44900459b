/** @file child_process.h A program that a test runs. */
#ifndef TESTS_SUPPORT_CHILD_PROCESS_H
#define TESTS_SUPPORT_CHILD_PROCESS_H

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace zelrtc::test {

/** Started by the constructor; outlives neither this object nor the test program. */
class ChildProcess {
public:
    /** Standard output and error go to the files. @throws std::runtime_error if it cannot be started */
    ChildProcess(const std::string& program, const std::vector<std::string>& arguments, const std::string& outputPath,
                 const std::string& errorPath);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const {
        return pid_;
    }
    void signal(int number) const;

    /** The exit status, or 128 plus the signal that ended it; nothing if it is still running at the limit. */
    std::optional<int> waitForExit(std::chrono::milliseconds limit);

private:
    bool hasEnded();

    pid_t pid_;
    std::optional<int> status_;
};

}  // namespace zelrtc::test

#endif
