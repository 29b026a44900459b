#include "call/call_registry.h"

#include <future>
#include <utility>

#include "http/http_error.h"

namespace zelrtc::camera {

namespace {

constexpr size_t kKeptEndedCalls = 8;

Problem noSuchCall(int id) {
    return {404, "there is no call " + std::to_string(id)};
}

}  // namespace

CallRegistry::CallRegistry(CallSettings settings, MediaHub& hub) : settings_(std::move(settings)), hub_(hub) {
}

std::shared_ptr<Call> CallRegistry::place(const std::string& offer, std::optional<bool> trickle) {
    std::shared_ptr<Call> call = admit(trickle);
    try {
        call->start(offer);
    } catch (const Problem& problem) {
        endIfUp(call->id(), problem.what());
        throw;
    }
    return call;
}

std::shared_ptr<Call> CallRegistry::admit(std::optional<bool> trickle) {
    ZelRtcSessionConfig config = settings_.session;
    config.trickleIce = trickle.value_or(config.trickleIce);
    const std::lock_guard<std::mutex> lock(mutex_);
    if (isShutDown_) {
        throw Problem(503, "the camera is shutting down");
    }
    if (calls_.size() >= settings_.maxCalls) {
        throw Problem(503, "the camera is in as many calls as it takes (" + std::to_string(settings_.maxCalls) + ")");
    }
    const int id = ++newestId_;
    auto call = std::make_shared<Call>(id, config, recordPath(id), hub_);
    calls_[id] = call;
    return call;
}

std::string CallRegistry::recordPath(int id) const {
    return settings_.recordDir.empty() ? "" : settings_.recordDir + "/call-" + std::to_string(id) + ".wav";
}

std::shared_ptr<Call> CallRegistry::find(int id) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = calls_.find(id);
    if (found == calls_.end()) {
        throw noSuchCall(id);
    }
    return found->second;
}

std::shared_ptr<EventLog> CallRegistry::eventsOf(int id) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto ended = ended_.find(id);
    if (ended != ended_.end()) {
        return ended->second;
    }
    const auto found = calls_.find(id);
    if (found == calls_.end()) {
        throw noSuchCall(id);
    }
    return found->second->events();
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
    ended_[id] = call->events();
    if (ended_.size() > kKeptEndedCalls) {
        ended_.erase(ended_.begin());
    }
    return call;
}

void CallRegistry::release(Call& call, const std::string& reason) {
    call.end(reason);
    const std::lock_guard<std::mutex> lock(mutex_);
    --ending_;
}

void CallRegistry::end(int id, const std::string& reason) {
    if (!endIfUp(id, reason)) {
        throw noSuchCall(id);
    }
}

bool CallRegistry::endIfUp(int id, const std::string& reason) {
    const std::shared_ptr<Call> call = remove(id);
    if (!call) {
        return false;
    }
    release(*call, reason);
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
    // Closing a connection takes the SDK a while, so all of them close at once.
    std::vector<std::future<void>> endings;
    for (const auto& call : all()) {
        const int id = call->id();
        endings.push_back(std::async(std::launch::async, [this, id] { endIfUp(id, "the camera is shutting down"); }));
    }
    for (auto& ending : endings) {
        ending.wait();
    }
}

}  // namespace zelrtc::camera
