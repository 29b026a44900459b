/** @file mailbox.h How other threads reach the server's thread. */
#ifndef APPS_CAMERA_HTTP_MAILBOX_H
#define APPS_CAMERA_HTTP_MAILBOX_H

#include <cstdint>
#include <mutex>
#include <set>

namespace zelrtc::camera {

/** Names of connections that the server's thread is to look at. Waiting for it is waiting for its descriptor. */
class Mailbox {
public:
    /** @throw std::runtime_error without a free descriptor */
    Mailbox();
    ~Mailbox();
    Mailbox(const Mailbox&) = delete;
    Mailbox& operator=(const Mailbox&) = delete;

    /** Leaves a connection's name; more than once counts once. Any thread. */
    void post(uint64_t id);

    /** Wakes the server's thread without naming a connection. Any thread. */
    void wake();

    /** Takes all that has been left. */
    std::set<uint64_t> take();

    /** Readable while something has been left. Owned by the mailbox. */
    int descriptor() const;

private:
    const int event_;
    std::mutex mutex_;
    std::set<uint64_t> ids_;
};

}  // namespace zelrtc::camera

#endif
