#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>

#include "answering_side.h"
#include "statuses.h"
#include "switched_environment.h"
#include "webrtcbin_viewer.h"

namespace zelrtc::test {

namespace {

void connect(AnsweringSide* side, WebrtcbinViewer* viewer) {
    ASSERT_EQ(side->answer(viewer->makeOffer()), STATUS_SUCCESS);
    ASSERT_TRUE(side->waitForGathering());
    viewer->setAnswer(side->localSdp());
    ASSERT_TRUE(side->waitForState(RTC_PEER_CONNECTION_STATE_CONNECTED));
}

int openDescriptors() {
    DIR* const directory = opendir("/proc/self/fd");
    int count = 0;
    while (readdir(directory) != nullptr) {  // NOLINT(concurrency-mt-unsafe): nobody else reads this directory stream
        count++;
    }
    closedir(directory);
    return count;
}

class CallEnd : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(initKvsWebRtc(), STATUS_SUCCESS);
    }
};

}  // namespace

TEST_F(CallEnd, isReportedAsClosedWhenTheViewerCloses) {
    AnsweringSide side;
    {
        WebrtcbinViewer viewer("video audio");
        connect(&side, &viewer);
    }
    EXPECT_TRUE(side.waitForState(RTC_PEER_CONNECTION_STATE_CLOSED));
    const std::vector<RTC_PEER_CONNECTION_STATE> states = side.states();
    EXPECT_EQ(std::count(states.begin(), states.end(), RTC_PEER_CONNECTION_STATE_CLOSED), 1);
    EXPECT_EQ(side.writeVideo(0), kTransportNotReady);
}

TEST_F(CallEnd, isNotReportedToTheSideThatCloses) {
    AnsweringSide side;
    WebrtcbinViewer viewer("video audio");
    connect(&side, &viewer);
    side.close();
    EXPECT_EQ(side.states().back(), RTC_PEER_CONNECTION_STATE_CONNECTED);
}

TEST_F(CallEnd, isToldToTheFarEnd) {
    AnsweringSide side;
    WebrtcbinViewer viewer("video audio");
    connect(&side, &viewer);
    side.close();
    EXPECT_TRUE(viewer.waitForClose(AnsweringSide::kDeadline));
}

TEST_F(CallEnd, showsAsDisconnectedWhenTheViewerFallsSilentAndEndsWhenItSpeaksAgain) {
    const zelrtc::test::FasterSilence faster;
    AnsweringSide side;
    WebrtcbinViewer viewer("video audio");
    connect(&side, &viewer);
    ASSERT_TRUE(side.writeUntil([&] { return side.audioSizes().size() > 5; }));
    viewer.freeze();
    ASSERT_TRUE(side.waitForState(RTC_PEER_CONNECTION_STATE_DISCONNECTED));
    viewer.thaw();
    EXPECT_TRUE(side.writeUntil([&] { return side.states().back() == RTC_PEER_CONNECTION_STATE_CONNECTED; }));
}

TEST_F(CallEnd, isFailedAfterTenSecondsWhenTheCandidatesLeadNowhere) {
    AnsweringSide side;
    WebrtcbinViewer viewer("video audio");
    const auto started = std::chrono::steady_clock::now();
    ASSERT_EQ(side.answer(viewer.makeOffer()), STATUS_SUCCESS);
    // The viewer never gets the answer.
    EXPECT_TRUE(side.waitForState(RTC_PEER_CONNECTION_STATE_FAILED));
    EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
    EXPECT_EQ(side.states(), (std::vector<RTC_PEER_CONNECTION_STATE>{RTC_PEER_CONNECTION_STATE_CONNECTING,
                                                                     RTC_PEER_CONNECTION_STATE_FAILED}));
}

TEST_F(CallEnd, isFailedAndThenTheEndOfGatheringWhenThereIsNoCandidate) {
    // Only relays are allowed, and there is no TURN server.
    AnsweringSide side("turn:127.0.0.1:9", ICE_TRANSPORT_POLICY_RELAY);
    WebrtcbinViewer viewer("video audio");
    std::atomic<int> endsBefore{-1};
    side.duringState = [&](RTC_PEER_CONNECTION_STATE state) {
        endsBefore = state == RTC_PEER_CONNECTION_STATE_FAILED ? side.ends() : -1;
    };
    ASSERT_EQ(side.answer(viewer.makeOffer()), STATUS_SUCCESS);
    ASSERT_TRUE(side.waitForGathering());
    EXPECT_EQ(endsBefore, 0);
    EXPECT_TRUE(side.candidates().empty());
    EXPECT_EQ(side.states(), (std::vector<RTC_PEER_CONNECTION_STATE>{RTC_PEER_CONNECTION_STATE_CONNECTING,
                                                                     RTC_PEER_CONNECTION_STATE_FAILED}));
}

TEST_F(CallEnd, isTheEndOfAllHandlers) {
    AnsweringSide side;
    WebrtcbinViewer viewer("video audio");
    std::atomic<bool> closed{false};
    std::atomic<int> late{0};
    side.duringAudio = [&] { late += closed ? 1 : 0; };
    connect(&side, &viewer);
    ASSERT_TRUE(side.writeUntil([&] { return side.audioSizes().size() > 5; }));
    side.close();
    closed = true;
    const size_t heard = side.audioSizes().size();
    // The viewer keeps talking for a while.
    const int sent = viewer.talkPackets();
    ASSERT_TRUE(viewer.waitForTalk(sent + 20, AnsweringSide::kDeadline));
    EXPECT_EQ(late, 0);
    EXPECT_EQ(side.audioSizes().size(), heard);
}

TEST_F(CallEnd, canComeFromInsideAHandler) {
    AnsweringSide side;
    WebrtcbinViewer viewer("video audio");
    std::atomic<bool> closed{false};
    side.duringState = [&](RTC_PEER_CONNECTION_STATE state) {
        if (state == RTC_PEER_CONNECTION_STATE_CONNECTED) {
            side.close();
            closed = true;
        }
    };
    connect(&side, &viewer);
    EXPECT_TRUE(viewer.waitForClose(AnsweringSide::kDeadline));
    while (!closed) {
        std::this_thread::yield();
    }
}

TEST_F(CallEnd, mayComeAtAnyMomentOfTheNegotiation) {
    WebrtcbinViewer viewer("video audio");
    const std::string offer = viewer.makeOffer();
    {
        AnsweringSide side;
        ASSERT_EQ(side.setOffer(offer), STATUS_SUCCESS);
    }
    {
        AnsweringSide side;
        ASSERT_EQ(side.setOffer(offer), STATUS_SUCCESS);
        RtcSessionDescriptionInit answer{};
        ASSERT_EQ(createAnswer(side.connection(), &answer), STATUS_SUCCESS);
    }
    AnsweringSide side;
    ASSERT_EQ(side.answer(offer), STATUS_SUCCESS);
}

TEST_F(CallEnd, takesAsLongAsASlowReleaseIsToTakeWhenItWasConnected) {
    const zelrtc::test::SwitchedEnvironment slow("ZELRTC_HOSTSDK_SLOW_RELEASE_MS", "1500");
    const auto timeOf = [](const std::function<void()>& action) {
        const auto start = std::chrono::steady_clock::now();
        action();
        return std::chrono::steady_clock::now() - start;
    };
    WebrtcbinViewer viewer("video audio");
    auto side = std::make_unique<AnsweringSide>();
    connect(side.get(), &viewer);
    EXPECT_LT(timeOf([&] { side->close(); }), std::chrono::milliseconds(1500));
    EXPECT_GE(timeOf([&] { side.reset(); }), std::chrono::milliseconds(1500));

    auto neverConnected = std::make_unique<AnsweringSide>();
    EXPECT_LT(timeOf([&] { neverConnected.reset(); }), std::chrono::milliseconds(1500));
}

TEST_F(CallEnd, leavesNoDescriptorsBehind) {
    int before = 0;
    for (int i = 0; i < 12; i++) {
        {
            AnsweringSide side;
            WebrtcbinViewer viewer("video audio");
            connect(&side, &viewer);
        }
        // After the first two calls, everything that the process opens once and keeps is open.
        before = i == 1 ? openDescriptors() : before;
    }
    EXPECT_LE(openDescriptors(), before);
}

TEST_F(CallEnd, leavesNoDescriptorsBehindWhileGatheringRuns) {
    WebrtcbinViewer viewer("video audio");
    const std::string offer = viewer.makeOffer();
    int before = 0;
    for (int i = 0; i < 50; i++) {
        {
            AnsweringSide side;
            ASSERT_EQ(side.answer(offer), STATUS_SUCCESS);
        }
        before = i == 1 ? openDescriptors() : before;
    }
    EXPECT_LE(openDescriptors(), before);
}

}  // namespace zelrtc::test
