#include "events/call_history.h"

#include <utility>

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
    tellReaders();
    return newest_;
}

void CallHistory::close() {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    tellReaders();
}

void CallHistory::tellReaders() {
    for (const auto& reader : readers_) {
        reader.second();
    }
}

CallHistory::Batch CallHistory::after(uint64_t seen) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Batch batch{{}, closed_};
    for (auto event = events_.upper_bound(seen); event != events_.end(); ++event) {
        batch.events.push_back(event->second);
    }
    return batch;
}

uint64_t CallHistory::subscribe(std::function<void()> tell) {
    const std::lock_guard<std::mutex> lock(mutex_);
    readers_.emplace(++newestReader_, std::move(tell));
    return newestReader_;
}

void CallHistory::unsubscribe(uint64_t subscription) {
    const std::lock_guard<std::mutex> lock(mutex_);
    readers_.erase(subscription);
}

}  // namespace zelrtc::camera
