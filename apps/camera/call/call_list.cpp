#include "call/call_list.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

namespace zelrtc::camera {

namespace {

constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

int openList(const std::string& path) {
    if (path.empty()) {
        return -1;
    }
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, kOwnerOnly);
    // One that was there before may have been readable for everybody.
    if (file < 0 || fchmod(file, kOwnerOnly) != 0) {
        throw std::runtime_error("the list of calls cannot be written to " + path);
    }
    return file;
}

}  // namespace

CallList::CallList(const std::string& path) : file_(openList(path)) {
}

CallList::~CallList() {
    if (file_ >= 0) {
        close(file_);
    }
}

void CallList::add(int id, const std::string& key) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (file_ >= 0) {
        dprintf(file_, "%d %s\n", id, key.c_str());
    }
}

}  // namespace zelrtc::camera
