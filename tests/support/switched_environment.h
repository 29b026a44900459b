/** @file switched_environment.h A variable of the environment for the time of a test. */
#ifndef TESTS_SUPPORT_SWITCHED_ENVIRONMENT_H
#define TESTS_SUPPORT_SWITCHED_ENVIRONMENT_H

#include <cstdlib>

namespace zelrtc::test {

/** To be made before the threads and processes that read the variable. */
class SwitchedEnvironment {
public:
    SwitchedEnvironment(const char* name, const char* value) : name_(name) {
        setenv(name, value, 1);  // NOLINT(concurrency-mt-unsafe): see above
    }
    ~SwitchedEnvironment() {
        unsetenv(name_);  // NOLINT(concurrency-mt-unsafe): see above
    }
    SwitchedEnvironment(const SwitchedEnvironment&) = delete;
    SwitchedEnvironment& operator=(const SwitchedEnvironment&) = delete;
    SwitchedEnvironment(SwitchedEnvironment&&) = delete;
    SwitchedEnvironment& operator=(SwitchedEnvironment&&) = delete;

private:
    const char* name_;
};

/** Ten times as fast as time the silence of a vanished viewer passes, on the stand-in; another SDK takes its time. */
class FasterSilence : public SwitchedEnvironment {
public:
    FasterSilence() : SwitchedEnvironment("ZELRTC_HOSTSDK_SILENCE_RATE", "10") {
    }
};

}  // namespace zelrtc::test

#endif
