#include "http/mailbox.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

namespace zelrtc::camera {

Mailbox::Mailbox() : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (event_ < 0) {
        throw std::runtime_error("no descriptor is left for the HTTP server");
    }
}

Mailbox::~Mailbox() {
    close(event_);
}

void Mailbox::post(uint64_t id) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ids_.insert(id);
    }
    wake();
}

void Mailbox::wake() {
    eventfd_write(event_, 1);
}

std::set<uint64_t> Mailbox::take() {
    eventfd_t count = 0;
    eventfd_read(event_, &count);
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(ids_, {});
}

int Mailbox::descriptor() const {
    return event_;
}

}  // namespace zelrtc::camera
