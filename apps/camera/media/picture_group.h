/** @file picture_group.h A stream's newest group of pictures, for viewers that come in the middle of it. */
#ifndef APPS_CAMERA_MEDIA_PICTURE_GROUP_H
#define APPS_CAMERA_MEDIA_PICTURE_GROUP_H

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "media/video_source.h"

namespace zelrtc::camera {

/** An access unit that outlives its source's call; shared by everybody who still has to send it. */
class KeptUnit {
public:
    explicit KeptUnit(const AccessUnit& unit)
        : stream_(unit.stream),
          data_(unit.data, unit.data + unit.size),
          timeUs_(unit.timeUs),
          isKeyFrame_(unit.isKeyFrame) {
    }

    /** Valid as long as this is. */
    AccessUnit unit() {
        return {stream_, data_.data(), data_.size(), timeUs_, isKeyFrame_};
    }
    size_t size() const {
        return data_.size();
    }
    int64_t timeUs() const {
        return timeUs_;
    }
    bool isKeyFrame() const {
        return isKeyFrame_;
    }

private:
    int stream_;
    std::vector<uint8_t> data_;
    int64_t timeUs_;
    bool isKeyFrame_;
};

using KeptUnits = std::vector<std::shared_ptr<KeptUnit>>;

/** What a group may take. A viewer that starts with it starts that far behind, so more time would help nobody. */
struct GroupBounds {
    size_t bytes = size_t{4} * 1024 * 1024;
    std::chrono::microseconds time = std::chrono::seconds(5);
};

/**
 * From the newest key frame on, everything. A group that outgrows its bounds is dropped as a whole: half of one shows
 * nothing. The source's thread, but for isAtHand.
 */
class PictureGroup {
public:
    explicit PictureGroup(GroupBounds bounds = {}) : bounds_(bounds) {
    }

    /** Keeps a unit if it belongs to the group. @return it, for whoever else keeps it */
    std::shared_ptr<KeptUnit> add(const AccessUnit& unit);

    /** Forgets the group: what comes next does not build on it. */
    void startAnew();

    /** In the order of decoding, beginning with the key frame; empty if there is no group. */
    const KeptUnits& units() const {
        return units_;
    }
    /** Changes with every startAnew. */
    unsigned source() const {
        return source_;
    }
    /** Any thread. @return whether a viewer could start at once */
    bool isAtHand() const {
        return isAtHand_;
    }

private:
    bool isTooMuch() const;

    GroupBounds bounds_;
    KeptUnits units_;
    size_t bytes_ = 0;
    unsigned source_ = 0;
    std::atomic<bool> isAtHand_{false};
};

}  // namespace zelrtc::camera

#endif
