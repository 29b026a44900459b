#include "media/restart_plan.h"

#include <gmock/gmock.h>

#include <vector>

namespace zelrtc::camera {
namespace {

using ::testing::ElementsAre;
using namespace std::chrono_literals;

using Pauses = std::vector<std::chrono::milliseconds>;
using SourceKind = SourceState::Kind;

class RestartPlanTest : public ::testing::Test {
protected:
    /** Fails so many times without ever delivering. @return the pauses */
    Pauses failTimes(int times) {
        Pauses pauses;
        for (int failure = 0; failure < times; ++failure) {
            plan_.started(now_);
            pauses.push_back(plan_.failed(now_, "gone").value_or(0ms));
            now_ += pauses.back();
        }
        return pauses;
    }

    void deliverFor(std::chrono::milliseconds time) {
        plan_.started(now_);
        plan_.delivered(now_);
        now_ += time;
        plan_.delivered(now_);
    }

    RestartPlan plan_{true};
    RestartPlan::Time now_{1h};
};

TEST_F(RestartPlanTest, PausesGrowUpToTheLongest) {
    EXPECT_THAT(failTimes(7), ElementsAre(500ms, 1s, 2s, 4s, 8s, 8s, 8s));
}

TEST_F(RestartPlanTest, ASourceThatHasRecoveredBeginsWithTheFirstPauseAgain) {
    failTimes(4);
    deliverFor(2s);
    EXPECT_EQ(plan_.failed(now_, "gone"), 500ms);
}

TEST_F(RestartPlanTest, ASourceThatFailsAgainAtOnceHasNotRecovered) {
    failTimes(2);
    deliverFor(1999ms);
    EXPECT_EQ(plan_.failed(now_, "gone"), 2s);
}

TEST_F(RestartPlanTest, ItIsDueAfterThePauseAndNotBefore) {
    plan_.started(now_);
    plan_.failed(now_, "gone");
    EXPECT_EQ(plan_.nextLook(), now_ + 500ms);
    EXPECT_FALSE(plan_.isDue(now_ + 499ms));
    EXPECT_TRUE(plan_.isDue(now_ + 500ms));
    plan_.started(now_ + 500ms);
    EXPECT_FALSE(plan_.isDue(now_ + 1h));
}

TEST_F(RestartPlanTest, OneFailureCountsOnce) {
    plan_.started(now_);
    plan_.failed(now_, "first");
    EXPECT_FALSE(plan_.failed(now_, "second"));
    EXPECT_EQ(plan_.state().failures, 1U);
    EXPECT_EQ(plan_.state().reason, "first");
}

TEST_F(RestartPlanTest, AStoppedSourceNeitherFailsNorComesBack) {
    plan_.started(now_);
    plan_.stopped();
    EXPECT_FALSE(plan_.failed(now_, "gone"));
    EXPECT_FALSE(plan_.nextLook());
    plan_.started(now_);
    plan_.failed(now_, "gone");
    plan_.stopped();
    EXPECT_FALSE(plan_.isDue(now_ + 1h));
}

TEST_F(RestartPlanTest, ItRunsFromTheFirstPictureOn) {
    EXPECT_EQ(plan_.state().kind, SourceKind::kStopped);
    plan_.started(now_);
    EXPECT_EQ(plan_.state().kind, SourceKind::kStarting);
    EXPECT_TRUE(plan_.delivered(now_));
    EXPECT_EQ(plan_.state().kind, SourceKind::kRunning);
    EXPECT_FALSE(plan_.delivered(now_));
    plan_.failed(now_, "gone");
    EXPECT_EQ(plan_.state().kind, SourceKind::kWaiting);
    EXPECT_FALSE(plan_.delivered(now_)) << "a picture that was on its way brought a failed source back";
    EXPECT_EQ(plan_.state().kind, SourceKind::kWaiting);
}

TEST_F(RestartPlanTest, SilenceIsCountedFromTheLastSign) {
    plan_.started(now_);
    EXPECT_FALSE(plan_.isSilent(now_ + 4999ms));
    EXPECT_TRUE(plan_.isSilent(now_ + 5s));
    plan_.delivered(now_ + 4s);
    EXPECT_FALSE(plan_.isSilent(now_ + 8999ms));
    EXPECT_TRUE(plan_.isSilent(now_ + 9s));
    EXPECT_EQ(plan_.nextLook(), now_ + 9s);
}

TEST_F(RestartPlanTest, ASourceThatMayBeSilentIsLeftAlone) {
    RestartPlan plan;
    plan.started(now_);
    EXPECT_FALSE(plan.isSilent(now_ + 1h));
    EXPECT_FALSE(plan.nextLook());
}

}  // namespace
}  // namespace zelrtc::camera
