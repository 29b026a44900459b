#include "text/environment.h"

#include <gtest/gtest.h>

#include "switched_environment.h"

namespace zelrtc::test {

namespace {

std::optional<double> numberFor(const char* text) {
    const SwitchedEnvironment variable("ZELRTC_HOSTSDK_TEST", text);
    return zelrtc::hostsdk::environmentNumber("ZELRTC_HOSTSDK_TEST");
}

}  // namespace

TEST(EnvironmentNumber, isThePositiveNumberThatTheVariableHolds) {
    EXPECT_EQ(numberFor("10"), 10.0);
    EXPECT_EQ(numberFor("2.5"), 2.5);
}

TEST(EnvironmentNumber, isNoneOfAnythingElse) {
    EXPECT_EQ(zelrtc::hostsdk::environmentNumber("ZELRTC_HOSTSDK_TEST"), std::nullopt);
    for (const char* const text : {"", "fast", "10x", "0", "-1", "inf", "nan"}) {
        EXPECT_EQ(numberFor(text), std::nullopt) << text;
    }
}

}  // namespace zelrtc::test
