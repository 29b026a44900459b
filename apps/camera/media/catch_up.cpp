#include "media/catch_up.h"

namespace zelrtc::camera {

void CatchUp::onUnit(const std::shared_ptr<KeptUnit>& unit, const PictureGroup& group, FrameSink& sink) {
    if (source_ != group.source()) {
        source_ = group.source();
        startOver();
    }
    if (!hasStarted_) {
        start(group, sink);
        return;
    }
    waiting_.push_back(unit);
    sendSome(sink);
}

void CatchUp::start(const PictureGroup& group, FrameSink& sink) {
    const KeptUnits& units = group.units();
    if (units.empty() || !sink.onVideo(units.front()->unit())) {
        return;
    }
    hasStarted_ = true;
    waiting_.assign(units.begin() + 1, units.end());
}

// Three for every two that come: half as much again as the stream's own rate, by the stream's own clock. A viewer one
// second behind is live after two.
void CatchUp::sendSome(FrameSink& sink) {
    isSecondOfPair_ = !isSecondOfPair_;
    for (int due = isSecondOfPair_ ? 1 : 2; due > 0 && !waiting_.empty(); --due) {
        const std::shared_ptr<KeptUnit> next = std::move(waiting_.front());
        waiting_.pop_front();
        if (!sink.onVideo(next->unit())) {
            startOver();
        }
    }
}

void CatchUp::startOver() {
    hasStarted_ = false;
    waiting_.clear();
}

}  // namespace zelrtc::camera
