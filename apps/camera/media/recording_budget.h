/** @file recording_budget.h How much all recordings of the camera may take. */
#ifndef APPS_CAMERA_MEDIA_RECORDING_BUDGET_H
#define APPS_CAMERA_MEDIA_RECORDING_BUDGET_H

#include <cstdint>
#include <mutex>

namespace zelrtc::camera {

/** Room on the disk that is given away once. Any thread. */
class RecordingBudget {
public:
    explicit RecordingBudget(uint64_t bytes) : left_(bytes) {
    }

    /** Takes room. @return false if so much is not left; then nothing is taken */
    bool take(uint64_t bytes) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (bytes > left_) {
            return false;
        }
        left_ -= bytes;
        return true;
    }

private:
    std::mutex mutex_;
    uint64_t left_;
};

}  // namespace zelrtc::camera

#endif
