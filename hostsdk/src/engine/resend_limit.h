/** @file resend_limit.h How much may be sent again. */
#ifndef HOSTSDK_SRC_ENGINE_RESEND_LIMIT_H
#define HOSTSDK_SRC_ENGINE_RESEND_LIMIT_H

#include <chrono>
#include <cstddef>

namespace zelrtc::hostsdk {

// At most half as much as is sent anew in a second: a far end that asks for everything again would otherwise double its
// cost, and on a link that is too slow make it worse. One thread at a time.
class ResendLimit {
public:
    using Clock = std::chrono::steady_clock;

    void onSent(size_t bytes, Clock::time_point now);
    // Whether so much may be sent again now; counts it if so.
    bool takes(size_t bytes, Clock::time_point now);

private:
    struct Span {
        size_t sent = 0;
        size_t resent = 0;
    };

    void moveOn(Clock::time_point now);

    // The half second that has begun and the one before it.
    Span current_;
    Span last_;
    Clock::time_point began_;
};

}  // namespace zelrtc::hostsdk

#endif
