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
    EXPECT_FALSE(gathering.takeEnd(true, now));
    gathering.onDone(2, now);
    EXPECT_TRUE(gathering.takeEnd(true, now));
}

TEST_F(EndOfGathering, waitsForACandidateThatItHasOvertaken) {
    gathering.onCandidate();
    gathering.onDone(2, now);
    EXPECT_FALSE(gathering.takeEnd(true, now));
    gathering.onCandidate();
    EXPECT_TRUE(gathering.takeEnd(true, now));
}

TEST_F(EndOfGathering, waitsNoLongerThanASecond) {
    gathering.onDone(1, now);
    EXPECT_FALSE(gathering.takeEnd(true, now + 999ms));
    EXPECT_TRUE(gathering.takeEnd(true, now + 1s));
}

TEST_F(EndOfGathering, comesOnce) {
    gathering.onDone(0, now);
    EXPECT_TRUE(gathering.takeEnd(true, now));
    gathering.onCandidate();
    EXPECT_FALSE(gathering.takeEnd(true, now + 1h));
}

TEST_F(EndOfGathering, waitsForEveryServersAnswer) {
    gathering.start(now);
    gathering.onCandidate();
    gathering.onDone(1, now);
    EXPECT_FALSE(gathering.takeEnd(false, now + 9999ms));
    EXPECT_TRUE(gathering.takeEnd(true, now + 9999ms));
}

TEST_F(EndOfGathering, comesAfterTenSecondsWhateverIsMissing) {
    gathering.start(now);
    EXPECT_FALSE(gathering.takeEnd(false, now + 9999ms));
    EXPECT_TRUE(gathering.takeEnd(false, now + 10s));
}

TEST_F(EndOfGathering, leavesOutWhatComesAfterIt) {
    EXPECT_TRUE(gathering.onCandidate());
    EXPECT_FALSE(gathering.hasEnded());
    EXPECT_TRUE(gathering.cutShort());
    EXPECT_TRUE(gathering.hasEnded());
    EXPECT_FALSE(gathering.onCandidate());
    EXPECT_FALSE(gathering.cutShort());
    gathering.onDone(1, now);
    EXPECT_FALSE(gathering.takeEnd(true, now + 1h));
}

TEST_F(EndOfGathering, knowsWhetherThereWasACandidate) {
    EXPECT_FALSE(gathering.hasCandidate());
    gathering.onCandidate();
    EXPECT_TRUE(gathering.hasCandidate());
}

}  // namespace zelrtc::test
