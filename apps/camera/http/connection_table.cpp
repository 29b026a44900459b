#include "http/connection_table.h"

#include <algorithm>

namespace zelrtc::camera {

namespace {

bool isResponding(Phase phase) {
    return phase == Phase::kSending || phase == Phase::kQuiet;
}

}  // namespace

bool waitsForRequest(Phase phase) {
    return phase == Phase::kIdle || phase == Phase::kHeader || phase == Phase::kBody;
}

ConnectionTable::ConnectionTable(const HttpLimits& limits) : limits_(limits) {
}

std::optional<uint64_t> ConnectionTable::add(uint64_t id, const std::string& address, HttpClock::time_point now) {
    entries_[id] = {address, Phase::kIdle, now, deadlineOf(Phase::kIdle, now)};
    std::optional<uint64_t> leaving;
    if (countOf(address) > limits_.connectionsPerAddress) {
        leaving =
            oldest([&address](const Entry& entry) { return entry.address == address && waitsForRequest(entry.phase); });
    } else if (entries_.size() > limits_.connections) {
        leaving = victim(id, address);
    }
    if (leaving) {
        entries_.erase(*leaving);
    }
    return leaving;
}

void ConnectionTable::remove(uint64_t id) {
    entries_.erase(id);
}

void ConnectionTable::enter(uint64_t id, Phase phase, HttpClock::time_point now) {
    const auto entry = entries_.find(id);
    if (entry != entries_.end()) {
        entry->second.phase = phase;
        entry->second.since = now;
        entry->second.deadline = deadlineOf(phase, now);
    }
}

void ConnectionTable::holdBack(uint64_t id, HttpClock::time_point until) {
    const auto entry = entries_.find(id);
    if (entry != entries_.end()) {
        entry->second.phase = Phase::kHeldBack;
        entry->second.deadline = until;
    }
}

std::vector<uint64_t> ConnectionTable::expired(HttpClock::time_point now) const {
    std::vector<uint64_t> ids;
    for (const auto& [id, entry] : entries_) {
        if (entry.deadline <= now) {
            ids.push_back(id);
        }
    }
    return ids;
}

std::optional<HttpClock::time_point> ConnectionTable::nextDeadline() const {
    HttpClock::time_point next = HttpClock::time_point::max();
    for (const auto& [id, entry] : entries_) {
        next = std::min(next, entry.deadline);
    }
    return next == HttpClock::time_point::max() ? std::nullopt : std::optional(next);
}

std::optional<Phase> ConnectionTable::phaseOf(uint64_t id) const {
    const auto entry = entries_.find(id);
    return entry == entries_.end() ? std::nullopt : std::optional(entry->second.phase);
}

std::vector<uint64_t> ConnectionTable::inPhase(const std::function<bool(Phase)>& chosen) const {
    std::vector<uint64_t> ids;
    for (const auto& [id, entry] : entries_) {
        if (chosen(entry.phase)) {
            ids.push_back(id);
        }
    }
    return ids;
}

size_t ConnectionTable::size() const {
    return entries_.size();
}

size_t ConnectionTable::countOf(const std::string& address) const {
    return static_cast<size_t>(std::count_if(
        entries_.begin(), entries_.end(), [&address](const auto& entry) { return entry.second.address == address; }));
}

std::string ConnectionTable::fullestAddress() const {
    std::map<std::string, size_t> counts;
    for (const auto& [id, entry] : entries_) {
        ++counts[entry.address];
    }
    const auto fullest = std::max_element(counts.begin(), counts.end(),
                                          [](const auto& one, const auto& other) { return one.second < other.second; });
    return fullest->first;
}

std::optional<uint64_t> ConnectionTable::oldest(const std::function<bool(const Entry&)>& chosen) const {
    std::optional<uint64_t> found;
    for (const auto& [id, entry] : entries_) {
        if (chosen(entry) && (!found || entry.since < entries_.at(*found).since)) {
            found = id;
        }
    }
    return found;
}

uint64_t ConnectionTable::victim(uint64_t newcomer, const std::string& newcomersAddress) const {
    const std::string fullest = fullestAddress();
    const auto ofFullest =
        oldest([&fullest](const Entry& entry) { return entry.address == fullest && waitsForRequest(entry.phase); });
    if (ofFullest && *ofFullest != newcomer) {
        return *ofFullest;
    }
    const auto ofAny = oldest([](const Entry& entry) { return waitsForRequest(entry.phase); });
    if (ofAny && *ofAny != newcomer) {
        return *ofAny;
    }
    if (fullest == newcomersAddress) {
        return newcomer;
    }
    return oldest([&fullest](const Entry& entry) { return entry.address == fullest && isResponding(entry.phase); })
        .value_or(newcomer);
}

HttpClock::time_point ConnectionTable::deadlineOf(Phase phase, HttpClock::time_point since) const {
    switch (phase) {
        case Phase::kIdle:
            return since + limits_.idle;
        case Phase::kHeader:
            return since + limits_.header;
        case Phase::kBody:
            return since + limits_.body;
        case Phase::kSending:
            return since + limits_.response;
        case Phase::kQuiet:
            return since + limits_.quiet;
        default:
            return HttpClock::time_point::max();
    }
}

}  // namespace zelrtc::camera
