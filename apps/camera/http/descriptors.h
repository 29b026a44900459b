/** @file descriptors.h Keeps connections from using up the descriptors that calls need. */
#ifndef APPS_CAMERA_HTTP_DESCRIPTORS_H
#define APPS_CAMERA_HTTP_DESCRIPTORS_H

#include <cstddef>

namespace zelrtc::camera {

/** How many descriptors are wanted, and how many the process may have. */
struct DescriptorBudget {
    size_t wanted;
    size_t allowed;
};

/**
 * Raises the process's limit on descriptors, as far as it may, to what is wanted. Never lowers it.
 * @return what came of it
 */
DescriptorBudget reserveDescriptors(size_t wanted);

}  // namespace zelrtc::camera

#endif
