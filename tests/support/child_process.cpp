#include "child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

#include "waiting.h"

namespace zelrtc::test {
namespace {

constexpr int kNotStarted = 127;
constexpr int kEndedBySignal = 128;

void redirect(int descriptor, const char* path) {
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (file < 0 || dup2(file, descriptor) < 0) {
        _exit(kNotStarted);
    }
}

std::vector<char*> argumentVector(const std::string& program, const std::vector<std::string>& arguments) {
    std::vector<char*> vector{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) {
        vector.push_back(const_cast<char*>(argument.c_str()));
    }
    vector.push_back(nullptr);
    return vector;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                           const std::string& outputPath, const std::string& errorPath) {
    const std::vector<char*> vector = argumentVector(program, arguments);
    pid_ = fork();
    if (pid_ < 0) {
        throw std::runtime_error("cannot start " + program);
    }
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        redirect(STDOUT_FILENO, outputPath.c_str());
        redirect(STDERR_FILENO, errorPath.c_str());
        execvp(program.c_str(), vector.data());
        _exit(kNotStarted);
    }
}

ChildProcess::~ChildProcess() {
    if (!hasEnded()) {
        signal(SIGKILL);
        waitForExit(std::chrono::seconds(10));
    }
}

void ChildProcess::signal(int number) const {
    if (!status_) {
        kill(pid_, number);
    }
}

bool ChildProcess::hasEnded() {
    int status = 0;
    if (!status_ && waitpid(pid_, &status, WNOHANG) == pid_) {
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : kEndedBySignal + WTERMSIG(status);
    }
    return status_.has_value();
}

std::optional<int> ChildProcess::waitForExit(std::chrono::milliseconds limit) {
    eventually([this] { return hasEnded(); }, limit);
    return status_;
}

}  // namespace zelrtc::test
