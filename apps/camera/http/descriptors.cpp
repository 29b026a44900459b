#include "http/descriptors.h"

#include <sys/resource.h>

#include <algorithm>

namespace zelrtc::camera {

DescriptorBudget reserveDescriptors(size_t wanted) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_cur < wanted) {
        limit.rlim_cur = std::min<rlim_t>(wanted, limit.rlim_max);
        setrlimit(RLIMIT_NOFILE, &limit);
        getrlimit(RLIMIT_NOFILE, &limit);
    }
    return {wanted, static_cast<size_t>(limit.rlim_cur)};
}

}  // namespace zelrtc::camera
