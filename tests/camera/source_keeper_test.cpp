#include "media/source_keeper.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace zelrtc::camera {
namespace {

using namespace std::chrono_literals;

constexpr auto kWithin = 10s;

class SourceKeeperTest : public ::testing::Test {
protected:
    void noteRestart(int stream) {
        const std::lock_guard<std::mutex> lock(mutex_);
        restarted_.push_back(stream);
        changed_.notify_all();
    }

    void noteState(int stream, const SourceState& state) {
        const std::lock_guard<std::mutex> lock(mutex_);
        told_.push_back(std::to_string(stream) + " " + nameOf(state.kind));
    }

    bool restarts(int stream, size_t times = 1) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, kWithin, [&] {
            return std::count(restarted_.begin(), restarted_.end(), stream) >= static_cast<std::ptrdiff_t>(times);
        });
    }

    std::vector<int> restarted() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return restarted_;
    }

    std::vector<std::string> told() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return told_;
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<int> restarted_;
    std::vector<std::string> told_;
    SourceKeeper keeper_{{RestartPlan(), RestartPlan()},
                         [this](int stream) { noteRestart(stream); },
                         [this](int stream, const SourceState& state) { noteState(stream, state); }};
};

TEST_F(SourceKeeperTest, AFailedSourceIsStartedAgainAndNoOther) {
    keeper_.started(0);
    keeper_.started(1);
    const auto failed = std::chrono::steady_clock::now();
    keeper_.failed(1, "gone");
    ASSERT_TRUE(restarts(1));
    EXPECT_GE(std::chrono::steady_clock::now() - failed, RestartPlan::kFirstPause);
    EXPECT_EQ(restarted(), std::vector<int>{1});
}

TEST_F(SourceKeeperTest, ARestartThatFailsIsFollowedByAnother) {
    keeper_.started(0);
    keeper_.failed(0, "gone");
    ASSERT_TRUE(restarts(0));
    keeper_.failed(0, "gone");
    EXPECT_TRUE(restarts(0, 2));
}

TEST_F(SourceKeeperTest, AStoppedSourceStaysAway) {
    keeper_.started(0);
    keeper_.started(1);
    keeper_.failed(0, "gone");
    keeper_.stopped(0);
    keeper_.failed(1, "gone");
    ASSERT_TRUE(restarts(1));
    EXPECT_EQ(restarted(), std::vector<int>{1});
}

TEST_F(SourceKeeperTest, ViewersAreToldOfTheFailureAndOfTheReturnAndOfNothingElse) {
    keeper_.started(0);
    keeper_.delivered(0);
    keeper_.failed(0, "gone");
    ASSERT_TRUE(restarts(0));
    keeper_.delivered(0);
    keeper_.delivered(0);
    EXPECT_EQ(told(), (std::vector<std::string>{"0 waiting", "0 running"}));
    EXPECT_EQ(keeper_.states().at(0).reason, "gone");
}

}  // namespace
}  // namespace zelrtc::camera
