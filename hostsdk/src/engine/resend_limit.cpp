#include "engine/resend_limit.h"

namespace zelrtc::hostsdk {

namespace {

constexpr std::chrono::milliseconds kSpan{500};

}  // namespace

void ResendLimit::onSent(size_t bytes, Clock::time_point now) {
    moveOn(now);
    current_.sent += bytes;
}

bool ResendLimit::takes(size_t bytes, Clock::time_point now) {
    moveOn(now);
    if (2 * (last_.resent + current_.resent + bytes) > last_.sent + current_.sent) {
        return false;
    }
    current_.resent += bytes;
    return true;
}

void ResendLimit::moveOn(Clock::time_point now) {
    if (now - began_ < kSpan) {
        return;
    }
    last_ = now - began_ < 2 * kSpan ? current_ : Span();
    current_ = Span();
    began_ = now;
}

}  // namespace zelrtc::hostsdk
