#include "connection/test_switches.h"

#include "text/environment.h"

namespace zelrtc::hostsdk {

double silenceRate() {
    return environmentNumber("ZELRTC_HOSTSDK_SILENCE_RATE").value_or(1);
}

std::chrono::milliseconds slowRelease() {
    const double time = environmentNumber("ZELRTC_HOSTSDK_SLOW_RELEASE_MS").value_or(0);
    return std::chrono::milliseconds(static_cast<std::chrono::milliseconds::rep>(time));
}

}  // namespace zelrtc::hostsdk
