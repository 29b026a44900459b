#include "waiting.h"

#include <thread>

namespace zelrtc::test {

bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    constexpr std::chrono::milliseconds kPace(20);
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(kPace);
    }
    return true;
}

}  // namespace zelrtc::test
