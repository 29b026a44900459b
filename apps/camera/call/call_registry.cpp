#include "call/call_registry.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <utility>

#include "call/call_error.h"

namespace zelrtc::camera {

namespace {

constexpr size_t kKeptEndedCalls = 8;
constexpr uint64_t kMib = uint64_t{1024} * 1024;

CallError noSuchCall() {
    return {CallError::Kind::kNoSuchCall, "there is no call at this address"};
}

void refuseCrowd(const std::vector<WaitingCall>& waiting, const std::string& client) {
    const size_t count = countOf(waiting, client);
    if (count >= kMostSlowCalls) {
        throw CallError(CallError::Kind::kTooManyOfOne,
                        std::to_string(count) + " calls from this address have not connected");
    }
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

std::shared_ptr<Call> CallRegistry::place(const std::string& offer, std::optional<bool> trickle,
                                          const std::string& client) {
    std::shared_ptr<Call> call = admit(trickle, client);
    try {
        call->start(offer);
    } catch (const CallError& error) {
        if (!endIfUp(call->id(), error.what())) {
            throw unavailable("the call was ended while it was placed");
        }
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

std::shared_ptr<Call> CallRegistry::admit(std::optional<bool> trickle, const std::string& client) {
    ZelRtcSessionConfig config = settings_.session;
    config.trickleIce = trickle.value_or(config.trickleIce);
    std::shared_ptr<Call> givingWay;
    std::shared_ptr<Call> call;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        refuseIfTooMany(client);
        givingWay = makeRoom(client);
        call = add(config, client);
    }
    if (givingWay) {
        spdlog::warn("call {} gives way to call {}: it has not connected", givingWay->id(), call->id());
        release(givingWay, "another call needed its place before it had connected");
    }
    return call;
}

void CallRegistry::refuseIfTooMany(const std::string& client) const {
    if (isShutDown_) {
        throw unavailable("the camera is shutting down");
    }
    const auto slow = waitingWhere([this](const Call& call) { return call.keepsWaiting(settings_.patience); });
    refuseCrowd(slow, client);
    // Who hangs up and calls again must not pile up threads that release.
    if (ending_ >= settings_.maxCalls) {
        throw unavailable("the camera is still releasing calls that have ended (" + std::to_string(ending_) + ")");
    }
}

// Who fills the house with calls that do not connect waits as well, instead of churning through sessions.
std::shared_ptr<Call> CallRegistry::makeRoom(const std::string& client) {
    if (calls_.size() < settings_.maxCalls) {
        return nullptr;
    }
    const auto waiting = waitingWhere([](const Call&) { return true; });
    refuseCrowd(waiting, client);
    const auto id = whoGivesWay(waiting);
    if (!id) {
        throw unavailable("the camera is in as many calls as it takes (" + std::to_string(settings_.maxCalls) + ")");
    }
    return remove(*id);
}

std::shared_ptr<Call> CallRegistry::add(const ZelRtcSessionConfig& config, const std::string& client) {
    const int id = ++newestId_;
    auto call = std::make_shared<Call>(id, config, recordPath(id), recordings_, hub_);
    calls_[id] = {call, client};
    list_.add(id, call->key());
    return call;
}

// Those that have not connected, oldest first.
template <typename Condition>
std::vector<WaitingCall> CallRegistry::waitingWhere(Condition condition) const {
    std::vector<WaitingCall> waiting;
    for (const auto& [id, entry] : calls_) {
        if (!entry.call->wasConnected() && condition(*entry.call)) {
            waiting.push_back({id, entry.client});
        }
    }
    return waiting;
}

void CallRegistry::thinOut() {
    std::vector<int> surplus;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto slow = waitingWhere([this](const Call& call) { return call.keepsWaiting(settings_.patience); });
        surplus = beyondShare(slow, kMostSlowCalls);
    }
    for (const int id : surplus) {
        endIfUp(id, "too many calls from its address did not connect");
    }
}

std::string CallRegistry::recordPath(int id) const {
    return settings_.recordDir.empty() ? "" : settings_.recordDir + "/call-" + std::to_string(id) + ".wav";
}

std::shared_ptr<Call> CallRegistry::findOrNull(const std::string& key) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = std::find_if(calls_.begin(), calls_.end(),
                                    [&key](const auto& entry) { return entry.second.call->key() == key; });
    return found == calls_.end() ? nullptr : found->second.call;
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

// Under the lock.
std::shared_ptr<Call> CallRegistry::remove(int id) {
    const auto found = calls_.find(id);
    if (found == calls_.end()) {
        return nullptr;
    }
    std::shared_ptr<Call> call = found->second.call;
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
    std::shared_ptr<Call> call;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        call = remove(id);
    }
    if (!call) {
        return false;
    }
    release(call, reason);
    return true;
}

void CallRegistry::release(const std::shared_ptr<Call>& call, const std::string& reason) {
    releaser_.start([this, call, reason] {
        call->end(reason);
        const std::lock_guard<std::mutex> lock(mutex_);
        --ending_;
    });
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
        calls.push_back(entry.second.call);
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
