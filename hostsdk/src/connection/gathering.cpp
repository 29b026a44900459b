#include "connection/gathering.h"

namespace zelrtc::hostsdk {

void Gathering::onCandidate() {
    told_++;
}

void Gathering::onDone(size_t found, Clock::time_point now) {
    done_ = Done{found, now};
}

bool Gathering::takeEnd(Clock::time_point now) {
    if (!done_ || (told_ < done_->found && now - done_->when < kLateCandidateLimit)) {
        return false;
    }
    done_.reset();
    return true;
}

bool Gathering::hasCandidate() const {
    return told_ > 0;
}

}  // namespace zelrtc::hostsdk
