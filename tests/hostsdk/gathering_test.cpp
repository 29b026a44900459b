#include "connection/gathering.h"

#include <gtest/gtest.h>

namespace zelrtc::test {

using zelrtc::hostsdk::Gathering;
using namespace std::chrono_literals;

namespace {

class EndOfGathering : public testing::Test {
protected:
    Gathering::Clock::time_point now{1000s};
    Gathering gathering;
};

}  // namespace

TEST_F(EndOfGathering, comesAtOnceWhenEveryCandidateWasTold) {
    gathering.onCandidate();
    gathering.onCandidate();
    EXPECT_FALSE(gathering.takeEnd(now));
    gathering.onDone(2, now);
    EXPECT_TRUE(gathering.takeEnd(now));
}

TEST_F(EndOfGathering, waitsForACandidateThatItHasOvertaken) {
    gathering.onCandidate();
    gathering.onDone(2, now);
    EXPECT_FALSE(gathering.takeEnd(now));
    gathering.onCandidate();
    EXPECT_TRUE(gathering.takeEnd(now));
}

TEST_F(EndOfGathering, waitsNoLongerThanASecond) {
    gathering.onDone(1, now);
    EXPECT_FALSE(gathering.takeEnd(now + 999ms));
    EXPECT_TRUE(gathering.takeEnd(now + 1s));
}

TEST_F(EndOfGathering, comesOnce) {
    gathering.onDone(0, now);
    EXPECT_TRUE(gathering.takeEnd(now));
    gathering.onCandidate();
    EXPECT_FALSE(gathering.takeEnd(now + 1h));
}

TEST_F(EndOfGathering, knowsWhetherThereWasACandidate) {
    EXPECT_FALSE(gathering.hasCandidate());
    gathering.onCandidate();
    EXPECT_TRUE(gathering.hasCandidate());
}

}  // namespace zelrtc::test
