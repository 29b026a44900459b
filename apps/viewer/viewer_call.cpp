#include "viewer_call.h"

#include <stdexcept>

#include "camera_signalling.h"
#include "whep_signalling.h"

namespace zelrtc::viewer {
namespace {

constexpr std::chrono::seconds kGatheringLimit(10);
constexpr std::chrono::seconds kLateCandidateLimit(1);

std::unique_ptr<Signalling> makeSignalling(const Options& options) {
    if (options.whep) {
        return std::make_unique<WhepSignalling>(options.camera);
    }
    return std::make_unique<CameraSignalling>(options.camera);
}

}  // namespace

ViewerCall::ViewerCall(const Options& options, const std::atomic<bool>& interrupted)
    : options_(options), interrupted_(interrupted) {
}

// The threads of signalling and peer post to tasks_, so they go first.
ViewerCall::~ViewerCall() {
    signalling_.reset();
    peer_.reset();
}

void ViewerCall::run() {
    try {
        if (!options_.timelinePath.empty()) {
            statistics_.keepTimeline(options_.timelinePath);
        }
        place();
        connect();
        watch();
        hangUp();
    } catch (const SignallingError& error) {
        statistics_.failed(error.what(), true);
    } catch (const std::runtime_error& error) {
        statistics_.failed(error.what(), false);
    }
}

void ViewerCall::place() {
    peer_ = std::make_unique<ViewerPeer>(options_, static_cast<PeerListener&>(*this), statistics_);
    signalling_ = makeSignalling(options_);
    std::string offer = peer_->makeOffer();
    if (!options_.trickle) {
        offer = completeOffer();
    }
    statistics_.offerSent();
    const Signalling::Answer answer = signalling_->place(offer, !options_.trickle);
    statistics_.answered(answer.callId);
    placed_ = true;
    if (leaves(AbortPoint::kAfterOffer)) {
        return;
    }
    peer_->takeAnswer(answer.sdp);
    signalling_->listen(*this);
    if (options_.stream) {
        selectStream(*options_.stream);
    }
    for (const Candidate& candidate : waitingCandidates_) {
        sendCandidate(candidate);
    }
}

std::string ViewerCall::completeOffer() {
    tasks_.runUntil(TaskQueue::Clock::now() + kGatheringLimit, [this] { return gathered_ || interrupted_; });
    // The end comes on another thread and can overtake the only candidate of a call over a relay.
    tasks_.runUntil(TaskQueue::Clock::now() + kLateCandidateLimit, [this] { return hasCandidate_ || interrupted_; });
    return peer_->currentOffer();
}

void ViewerCall::connect() {
    const auto deadline = TaskQueue::Clock::now() + options_.connectTimeout;
    tasks_.runUntil(deadline, [this] { return connected_ || isOver(); });
    connectedAt_ = TaskQueue::Clock::now();
    if (!connected_ && !isOver()) {
        broken_ = true;
        statistics_.failed("not connected within the limit", false);
    }
    if (connected_) {
        peer_->startTalking();
    }
}

void ViewerCall::watch() {
    const bool endless = options_.untilInterrupted;
    const auto end = endless ? TaskQueue::Clock::time_point::max() : connectedAt_ + options_.duration;
    tasks_.runUntil(end, [this] {
        switchStreams();
        const bool abortNow = TaskQueue::Clock::now() >= connectedAt_ + options_.abortAfter;
        return isOver() || (abortNow && leaves(AbortPoint::kAfterTime));
    });
}

void ViewerCall::switchStreams() {
    while (!isOver() && switchesDone_ < options_.switches.size()) {
        const StreamSwitch& next = options_.switches[switchesDone_];
        if (TaskQueue::Clock::now() < connectedAt_ + next.at) {
            return;
        }
        selectStream(next.stream);
        ++switchesDone_;
    }
}

void ViewerCall::selectStream(int stream) {
    statistics_.streamAsked(stream);
    signalling_->selectStream(stream);
}

void ViewerCall::sendCandidate(const Candidate& candidate) {
    signalling_->sendCandidate(candidate);
    leaves(AbortPoint::kWhileGathering);
}

void ViewerCall::hangUp() {
    if (left_) {
        return;
    }
    statistics_.transportSeen(peer_->transport());
    if (!options_.recordPath.empty()) {
        peer_->writeRecording(options_.recordPath);
    }
    if (!endedByCamera_) {
        signalling_->hangUp();
    }
}

bool ViewerCall::isOver() const {
    return left_ || broken_ || endedByCamera_ || interrupted_;
}

bool ViewerCall::leaves(AbortPoint point) {
    left_ = left_ || options_.abortPoint == point;
    return left_;
}

void ViewerCall::onLocalCandidate(const Candidate& candidate) {
    tasks_.post([this, candidate] {
        hasCandidate_ = true;
        if (!options_.trickle || left_) {
            return;
        }
        if (placed_) {
            sendCandidate(candidate);
        } else {
            waitingCandidates_.push_back(candidate);
        }
    });
}

void ViewerCall::onGathered() {
    tasks_.post([this] { gathered_ = true; });
}

void ViewerCall::onIceConnected() {
    tasks_.post([this] { leaves(AbortPoint::kInDtlsHandshake); });
}

void ViewerCall::onState(const std::string& name) {
    statistics_.stateReached(name);
    tasks_.post([this, name] {
        connected_ = connected_ || name == "connected";
        broken_ = broken_ || name == "failed" || name == "closed";
    });
}

// On top of the request in the call's RTCP: not every camera hears of that, and one that cannot be asked has not
// failed.
void ViewerCall::onKeyFrameWanted() {
    tasks_.post([this] {
        try {
            signalling_->askForKeyFrame();
        } catch (const SignallingError&) {
            return;
        }
    });
}

void ViewerCall::onRemoteCandidate(const Candidate& candidate) {
    tasks_.post([this, candidate] { peer_->addRemoteCandidate(candidate); });
}

void ViewerCall::onCameraState(const std::string& name, double ms) {
    statistics_.cameraStateReached(name, ms);
}

void ViewerCall::onHeard(uint64_t frames) {
    statistics_.audioHeard(frames);
}

void ViewerCall::onEnded(const std::string& reason) {
    tasks_.post([this, reason] {
        statistics_.endedByCamera(reason);
        endedByCamera_ = true;
    });
}

}  // namespace zelrtc::viewer
