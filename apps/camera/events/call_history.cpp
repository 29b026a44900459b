#include "events/call_history.h"

namespace zelrtc::camera {

void CallHistory::append(const std::string& name, const std::string& data) {
    const std::lock_guard<std::mutex> lock(mutex_);
    store(name, data);
}

void CallHistory::appendPassing(const std::string& name, const std::string& data, size_t keep) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const uint64_t id = store(name, data);
    if (id == 0) {
        return;
    }
    std::deque<uint64_t>& kept = passing_[name];
    kept.push_back(id);
    while (kept.size() > keep) {
        events_.erase(kept.front());
        kept.pop_front();
    }
}

uint64_t CallHistory::store(const std::string& name, const std::string& data) {
    if (closed_) {
        return 0;
    }
    ++newest_;
    events_.emplace(newest_, Event{newest_, name, data});
    changed_.notify_all();
    return newest_;
}

void CallHistory::close() {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    changed_.notify_all();
}

CallHistory::Batch CallHistory::next(uint64_t after, std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, limit, [&] { return closed_ || newest_ > after; });
    Batch batch{{}, closed_};
    for (auto event = events_.upper_bound(after); event != events_.end(); ++event) {
        batch.events.push_back(event->second);
    }
    return batch;
}

}  // namespace zelrtc::camera
