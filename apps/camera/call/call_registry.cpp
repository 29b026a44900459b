#include "call/call_registry.h"

#include <algorithm>
#include <utility>

#include "call/call_error.h"

namespace zelrtc::camera {

namespace {

constexpr size_t kKeptEndedCalls = 8;
constexpr uint64_t kMib = 1024 * 1024;

CallError noSuchCall() {
    return {CallError::Kind::kNoSuchCall, "there is no call at this address"};
}

CallError unavailable(const std::string& reason) {
    return {CallError::Kind::kUnavailable, reason};
}

}  // namespace

CallRegistry::CallRegistry(CallSettings settings, MediaHub& hub)
    : settings_(std::move(settings)),
      hub_(hub),
      list_(settings_.listFile),
      recordings_(settings_.recordLimitMib * kMib) {
}

std::shared_ptr<Call> CallRegistry::place(const std::string& offer, std::optional<bool> trickle) {
    std::shared_ptr<Call> call = admit(trickle);
    try {
        call->start(offer);
    } catch (const CallError& error) {
        endIfUp(call->id(), error.what());
        throw;
    }
    return call;
}

std::string CallRegistry::answerOf(Call& call, std::chrono::milliseconds limit) {
    const auto answer = call.waitForAnswer(limit);
    if (answer) {
        return *answer;
    }
    if (!endIfUp(call.id(), "there was no answer in time")) {
        throw unavailable("the call was ended before it had an answer");
    }
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit).count();
    throw CallError(CallError::Kind::kNoAnswer,
                    "the camera had no complete answer within " + std::to_string(seconds) + " seconds");
}

std::shared_ptr<Call> CallRegistry::admit(std::optional<bool> trickle) {
    ZelRtcSessionConfig config = settings_.session;
    config.trickleIce = trickle.value_or(config.trickleIce);
    const std::lock_guard<std::mutex> lock(mutex_);
    if (isShutDown_) {
        throw unavailable("the camera is shutting down");
    }
    if (calls_.size() >= settings_.maxCalls) {
        throw unavailable("the camera is in as many calls as it takes (" + std::to_string(settings_.maxCalls) + ")");
    }
    // Who hangs up and calls again must not pile up threads that release.
    if (ending_ >= settings_.maxCalls) {
        throw unavailable("the camera is still releasing calls that have ended (" + std::to_string(ending_) + ")");
    }
    const int id = ++newestId_;
    auto call = std::make_shared<Call>(id, config, recordPath(id), recordings_, hub_);
    calls_[id] = call;
    list_.add(id, call->key());
    return call;
}

std::string CallRegistry::recordPath(int id) const {
    return settings_.recordDir.empty() ? "" : settings_.recordDir + "/call-" + std::to_string(id) + ".wav";
}

std::shared_ptr<Call> CallRegistry::findOrNull(const std::string& key) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found =
        std::find_if(calls_.begin(), calls_.end(), [&key](const auto& entry) { return entry.second->key() == key; });
    return found == calls_.end() ? nullptr : found->second;
}

std::shared_ptr<Call> CallRegistry::find(const std::string& key) {
    std::shared_ptr<Call> call = findOrNull(key);
    if (!call) {
        throw noSuchCall();
    }
    return call;
}

std::shared_ptr<CallHistory> CallRegistry::eventsOf(const std::string& key) {
    if (const auto call = findOrNull(key)) {
        return call->events();
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto ended =
        std::find_if(ended_.begin(), ended_.end(), [&key](const EndedCall& call) { return call.key == key; });
    if (ended == ended_.end()) {
        throw noSuchCall();
    }
    return ended->events;
}

std::shared_ptr<Call> CallRegistry::remove(int id) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = calls_.find(id);
    if (found == calls_.end()) {
        return nullptr;
    }
    std::shared_ptr<Call> call = found->second;
    calls_.erase(found);
    ++ending_;
    ended_.push_back({call->key(), call->events()});
    if (ended_.size() > kKeptEndedCalls) {
        ended_.pop_front();
    }
    return call;
}

void CallRegistry::end(const std::string& key, const std::string& reason) {
    const auto call = findOrNull(key);
    if (!call || !endIfUp(call->id(), reason)) {
        throw noSuchCall();
    }
}

bool CallRegistry::endIfUp(int id, const std::string& reason) {
    const std::shared_ptr<Call> call = remove(id);
    if (!call) {
        return false;
    }
    releaser_.start([this, call, reason] {
        call->end(reason);
        const std::lock_guard<std::mutex> lock(mutex_);
        --ending_;
    });
    return true;
}

size_t CallRegistry::held() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return calls_.size() + ending_;
}

std::vector<std::shared_ptr<Call>> CallRegistry::all() {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::shared_ptr<Call>> calls;
    calls.reserve(calls_.size());
    for (const auto& entry : calls_) {
        calls.push_back(entry.second);
    }
    return calls;
}

void CallRegistry::shutdown() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isShutDown_ = true;
    }
    for (const auto& call : all()) {
        endIfUp(call->id(), "the camera is shutting down");
    }
    releaser_.wait();
}

}  // namespace zelrtc::camera
