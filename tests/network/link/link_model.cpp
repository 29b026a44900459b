#include "link_model.h"

#include <algorithm>

namespace zelrtc::link {

namespace {

constexpr double kNanosecondsPerSecond = 1e9;
constexpr double kBitsPerByte = 8;

// In [0, 1). Written out, because the distributions of the standard library differ between implementations.
double evenly(std::mt19937_64* random) {
    constexpr int kMantissaBits = 53;
    return static_cast<double>((*random)() >> (64 - kMantissaBits)) / static_cast<double>(1ULL << kMantissaBits);
}

Duration timeOnWire(size_t bytes, uint64_t rateBitsPerSecond) {
    const double bits = static_cast<double>(bytes) * kBitsPerByte;
    return Duration(static_cast<int64_t>(bits * kNanosecondsPerSecond / static_cast<double>(rateBitsPerSecond)));
}

}  // namespace

LinkModel::LinkModel(uint64_t seed) : random_(seed) {
}

void LinkModel::setConditions(const Conditions& conditions) {
    conditions_ = conditions;
}

bool LinkModel::happens(double percent) {
    return percent > 0 && evenly(&random_) * 100 < percent;
}

Duration LinkModel::nextDelay() {
    if (conditions_.jitter == Duration::zero()) {
        return conditions_.delay;
    }
    const double deviation = (2 * evenly(&random_) - 1) * static_cast<double>(conditions_.jitter.count());
    return std::max(Duration::zero(), conditions_.delay + Duration(static_cast<int64_t>(deviation)));
}

std::optional<Time> LinkModel::leaveQueue(Time now, size_t packetBytes) {
    if (conditions_.rateBitsPerSecond == 0) {
        return now;
    }
    const Time start = std::max(now, queueFreeAt_);
    if (start - now > timeOnWire(conditions_.queueBytes, conditions_.rateBitsPerSecond)) {
        return std::nullopt;
    }
    queueFreeAt_ = start + timeOnWire(packetBytes, conditions_.rateBitsPerSecond);
    return queueFreeAt_;
}

std::optional<Time> LinkModel::admit(Time now, size_t packetBytes) {
    if (!conditions_.isUp) {
        counters_.whileDown++;
        return std::nullopt;
    }
    if (happens(conditions_.lossPercent)) {
        counters_.lost++;
        return std::nullopt;
    }
    const std::optional<Time> sentAt = leaveQueue(now, packetBytes);
    if (!sentAt) {
        counters_.overflowed++;
        return std::nullopt;
    }
    counters_.delivered++;
    counters_.bytes += packetBytes;
    const Time inOrder = std::max(*sentAt + nextDelay(), lastDelivery_);
    if (happens(conditions_.reorderPercent)) {
        counters_.reordered++;
        return inOrder + conditions_.reorderHold;
    }
    lastDelivery_ = inOrder;
    return inOrder;
}

}  // namespace zelrtc::link
