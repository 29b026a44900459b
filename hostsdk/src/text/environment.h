/** @file environment.h The switches that the stand-in has for tests. */
#ifndef HOSTSDK_SRC_TEXT_ENVIRONMENT_H
#define HOSTSDK_SRC_TEXT_ENVIRONMENT_H

#include <optional>

namespace zelrtc::hostsdk {

// The positive number that the environment variable holds. Nothing when there is none; what is no such number is
// logged.
std::optional<double> environmentNumber(const char* name);

}  // namespace zelrtc::hostsdk

#endif
