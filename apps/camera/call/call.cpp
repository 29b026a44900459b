#include "call/call.h"

#include <nlohmann/json.hpp>

#include "call/call_error.h"
#include "call/state_name.h"

namespace zelrtc::camera {

namespace {

using nlohmann::json;
using namespace std::chrono_literals;

constexpr auto kTimeToConnect = 30s;
// A silent connection may recover. This comes on top of the silence that the SDK allows before it reports one.
constexpr auto kTimeToComeBack = 2s;
constexpr auto kBetweenChoices = 500ms;
constexpr size_t kKeptLevels = 5;
constexpr size_t kKeptSourceStates = 20;

std::chrono::milliseconds since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
}

bool isSdkStatus(int result) {
    return result != ZELRTC_WRITE_OK && result != ZELRTC_WRITE_NOT_CONNECTED &&
           result != ZELRTC_WRITE_WAITING_KEY_FRAME;
}

}  // namespace

Call::Call(ZELRTC_SESSION_ID id, const ZelRtcSessionConfig& config, const std::string& recordPath,
           RecordingBudget& recordings, MediaHub& hub)
    : id_(id),
      isTrickle_(config.trickleIce || config.isAlexaCall),
      hub_(hub),
      logLines_(id, events_),
      talkBack_(recordPath, recordings) {
    const LogScope scope(id_);
    session_ = std::make_unique<ZelRtcSession>(id_, config, this);
}

void Call::start(const std::string& offer) {
    const LogScope scope(id_);
    const std::lock_guard<std::mutex> lock(controlMutex_);
    requireSession();
    const int status = session_->init(offer);
    if (status != 0) {
        throw CallError(CallError::Kind::kOfferRefused, "the offer was refused", status);
    }
    {
        const std::lock_guard<std::mutex> mediaLock(mediaMutex_);
        isFed_ = true;
    }
    hub_.attach(shared_from_this(), video_);
}

std::optional<std::string> Call::waitForAnswer(std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(answerMutex_);
    answerReady_.wait_for(lock, limit, [this] { return answer_ || hasNoAnswer_; });
    return answer_;
}

void Call::addCandidate(const std::string& candidate) {
    const LogScope scope(id_);
    const std::lock_guard<std::mutex> lock(controlMutex_);
    requireSession();
    const int status = session_->addRemoteCandidate(candidate);
    if (status != 0) {
        throw CallError(CallError::Kind::kCandidateRefused, "the candidate was refused", status);
    }
}

Selection Call::select(std::optional<int> video, std::optional<bool> audio) {
    const LogScope scope(id_);
    const std::lock_guard<std::mutex> lock(controlMutex_);
    requireSession();
    chosen_ = {video.value_or(chosen_.video), audio.value_or(chosen_.audio)};
    applyIfDue();
    return chosen_;
}

void Call::requestKeyFrame() {
    const std::lock_guard<std::mutex> lock(controlMutex_);
    requireSession();
    hub_.requestKeyFrame(video_);
}

void Call::applyChoice() {
    const LogScope scope(id_);
    const std::unique_lock<std::mutex> lock(controlMutex_, std::try_to_lock);
    if (lock && session_) {
        applyIfDue();
    }
}

void Call::applyIfDue() {
    const bool isNew = chosen_.video != video_ || chosen_.audio != audio_;
    if (isNew && since(applied_) >= kBetweenChoices) {
        applied_ = Clock::now();
        apply(chosen_);
    }
}

void Call::apply(const Selection& selection) {
    const bool isOtherVideo = selection.video != video_;
    if (isOtherVideo) {
        hub_.attach(shared_from_this(), selection.video);
    }
    {
        const std::lock_guard<std::mutex> mediaLock(mediaMutex_);
        session_->setAudioVideoType(selection.audio ? 1 : 0, selection.video);
    }
    video_ = selection.video;
    audio_ = selection.audio;
    if (isOtherVideo) {
        hub_.requestKeyFrame(selection.video);
    }
}

void Call::recordTalkBack() {
    const std::unique_lock<std::mutex> lock(controlMutex_, std::try_to_lock);
    if (!lock) {
        return;
    }
    if (const auto level = talkBack_.process()) {
        events_->appendPassing("level", json{{"rms", level->rms}, {"frames", level->frames}}.dump(), kKeptLevels);
    }
}

bool Call::keepsWaiting(std::chrono::milliseconds limit) const {
    return !wasConnected_ && answeredMs_ >= 0 && age() - std::chrono::milliseconds(answeredMs_) >= limit;
}

std::optional<std::string> Call::reasonToEnd() const {
    switch (state_) {
        case RTC_PEER_CONNECTION_STATE_CLOSED:
            return "the viewer closed the connection";
        case RTC_PEER_CONNECTION_STATE_FAILED:
            return "the connection failed";
        case RTC_PEER_CONNECTION_STATE_DISCONNECTED:
            return timeInState() > kTimeToComeBack ? std::optional("the viewer is gone") : std::nullopt;
        default:
            return !wasConnected_ && age() > kTimeToConnect ? std::optional("the call never connected") : std::nullopt;
    }
}

void Call::end(const std::string& reason) {
    const LogScope scope(id_);
    std::unique_ptr<ZelRtcSession> session;
    {
        const std::lock_guard<std::mutex> lock(controlMutex_);
        if (!session_) {
            return;
        }
        stopFeeding();
        session_->teminate();
        session = std::move(session_);
        talkBack_.process();
    }
    tellEnd(reason);
    // Last and without a lock, because the SDK may take seconds: nobody else waits for it.
    session.reset();
}

void Call::tellEnd(const std::string& reason) {
    {
        const std::lock_guard<std::mutex> lock(answerMutex_);
        hasNoAnswer_ = true;
    }
    answerReady_.notify_all();
    events_->append("ended", json{{"reason", reason}}.dump());
    events_->close();
}

// The flag stops a media thread that still holds this sink; the lock waits for a write in progress.
void Call::stopFeeding() {
    {
        const std::lock_guard<std::mutex> lock(mediaMutex_);
        isFed_ = false;
    }
    hub_.detach(shared_from_this());
}

CallSummary Call::summary() const {
    return {stateName(state_), {video_, audio_}, isTrickle_, static_cast<double>(age().count()) / 1000.0};
}

bool Call::onVideo(const AccessUnit& unit) {
    const std::lock_guard<std::mutex> lock(mediaMutex_);
    if (!isFed_) {
        return false;
    }
    const int flags = unit.isKeyFrame ? ZELRTC_FRAME_FLAG_KEY_FRAME : 0;
    const int result = session_->writeVideoData(unit.data, unit.size, unit.timeUs, flags, unit.stream);
    if (keyFrameRetry_.onWritten(unit.isKeyFrame, isSdkStatus(result), Clock::now())) {
        hub_.requestKeyFrame(video_);
    }
    return result == ZELRTC_WRITE_OK || (isSdkStatus(result) && !unit.isKeyFrame);
}

void Call::onAudio(const AudioFrame& frame) {
    const std::lock_guard<std::mutex> lock(mediaMutex_);
    if (isFed_) {
        session_->writeAudioData(frame.data, frame.size, frame.timeUs, 0);
    }
}

void Call::onSource(int stream, const SourceState& state) {
    const json source{
        {"video", stream}, {"state", nameOf(state.kind)}, {"failures", state.failures}, {"reason", state.reason}};
    events_->appendPassing("source", source.dump(-1, ' ', false, json::error_handler_t::replace), kKeptSourceStates);
}

void Call::onAnswer(ZELRTC_SESSION_ID, const std::string& answer) {
    answeredMs_ = age().count();
    events_->append("answer", answer);
    {
        const std::lock_guard<std::mutex> lock(answerMutex_);
        answer_ = answer;
    }
    answerReady_.notify_all();
}

void Call::onIceCandidate(ZELRTC_SESSION_ID, const std::string& candidate) {
    events_->append("candidate", candidate);
}

void Call::onStateChange(ZELRTC_SESSION_ID, RTC_PEER_CONNECTION_STATE state) {
    const int64_t now = age().count();
    stateSinceMs_ = now;
    state_ = state;
    if (state == RTC_PEER_CONNECTION_STATE_CONNECTED) {
        wasConnected_ = true;
        hub_.requestKeyFrame(video_);
    }
    events_->append("state", json{{"state", stateName(state)}, {"value", static_cast<int>(state)}, {"ms", now}}.dump());
}

void Call::onAudioFrame(ZELRTC_SESSION_ID, void* data, unsigned int size) {
    talkBack_.push(data, size);
}

void Call::requireSession() const {
    if (!session_) {
        throw CallError(CallError::Kind::kNoSuchCall, "the call has ended");
    }
}

std::chrono::milliseconds Call::age() const {
    return since(arrived_);
}

std::chrono::milliseconds Call::timeInState() const {
    return age() - std::chrono::milliseconds(stateSinceMs_);
}

}  // namespace zelrtc::camera
