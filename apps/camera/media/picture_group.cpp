#include "media/picture_group.h"

namespace zelrtc::camera {

std::shared_ptr<KeptUnit> PictureGroup::add(const AccessUnit& unit) {
    auto kept = std::make_shared<KeptUnit>(unit);
    if (kept->isKeyFrame()) {
        units_.clear();
        bytes_ = 0;
    }
    if (kept->isKeyFrame() || !units_.empty()) {
        units_.push_back(kept);
        bytes_ += kept->size();
    }
    if (isTooMuch()) {
        units_.clear();
    }
    isAtHand_ = !units_.empty();
    return kept;
}

void PictureGroup::startAnew() {
    units_.clear();
    isAtHand_ = false;
    ++source_;
}

bool PictureGroup::isTooMuch() const {
    if (units_.empty()) {
        return false;
    }
    const std::chrono::microseconds time(units_.back()->timeUs() - units_.front()->timeUs());
    return bytes_ > bounds_.bytes || time > bounds_.time;
}

}  // namespace zelrtc::camera
