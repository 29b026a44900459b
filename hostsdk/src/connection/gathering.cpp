#include "connection/gathering.h"

namespace zelrtc::hostsdk {

void Gathering::start(Clock::time_point now) {
    started_ = now;
}

bool Gathering::onCandidate() {
    told_++;
    return !ended_;
}

void Gathering::onDone(size_t found, Clock::time_point now) {
    done_ = Done{found, now};
}

bool Gathering::takeEnd(bool haveServersAnswered, Clock::time_point now) {
    const bool isOver = started_ && now - *started_ >= kLimit;
    return (isOver || isComplete(haveServersAnswered, now)) && cutShort();
}

bool Gathering::cutShort() {
    const bool isFirst = !ended_;
    ended_ = true;
    return isFirst;
}

bool Gathering::hasCandidate() const {
    return told_ > 0;
}

bool Gathering::hasEnded() const {
    return ended_;
}

bool Gathering::isComplete(bool haveServersAnswered, Clock::time_point now) const {
    return haveServersAnswered && done_ && (told_ >= done_->found || now - done_->when >= kLateCandidateLimit);
}

}  // namespace zelrtc::hostsdk
