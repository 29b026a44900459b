/** @file switched_environment.h An environment variable that is set for the duration of a test. */
#ifndef TESTS_SUPPORT_SWITCHED_ENVIRONMENT_H
#define TESTS_SUPPORT_SWITCHED_ENVIRONMENT_H

#include <cstdlib>

namespace zelrtc::test {

/** Create it before any thread or process that reads the variable. */
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

/** The stand-in counts a vanished viewer's silence ten times faster; other SDKs ignore this. */
class FasterSilence : public SwitchedEnvironment {
public:
    FasterSilence() : SwitchedEnvironment("ZELRTC_HOSTSDK_SILENCE_RATE", "10") {
    }
};

}  // namespace zelrtc::test

#endif
