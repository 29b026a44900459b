// Everything at once, as in a camera: the SDK's threads report, media threads write, the control thread decides. Under
// ThreadSanitizer this shows what is synchronised; tests/support/tsan.supp lists what deliberately is not.
#include <stdio.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <mutex>

#include "session_test.h"

namespace zelrtc::test {
namespace {

using Clock = std::chrono::steady_clock;

const unsigned kHandlerThreads = 4;
const auto kDeadline = std::chrono::seconds(60);

/** Waits for the condition; false on timeout. */
template <typename Condition>
bool waitFor(const Condition& condition) {
    const Clock::time_point end = Clock::now() + kDeadline;
    while (!condition()) {
        if (Clock::now() > end) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

/** Threads that repeat an action until stopped. */
class Repeating {
public:
    ~Repeating() {
        stop();
    }

    void start(unsigned count, const std::function<void()>& action) {
        for (unsigned i = 0; i < count; ++i) {
            threads_.emplace_back([this, action] {
                while (!stopped_.load(std::memory_order_relaxed)) {
                    action();
                }
            });
        }
    }

    void stop() {
        stopped_.store(true, std::memory_order_relaxed);
        for (std::thread& thread : threads_) {
            thread.join();
        }
        threads_.clear();
    }

private:
    std::atomic<bool> stopped_{false};
    std::vector<std::thread> threads_;
};

/** Counts its calls and checks that none starts after the end of the call. */
class StormCallback : public ZelWebrtcSessionCallback {
public:
    enum Kind { kAnswer, kCandidate, kState, kAudio, kKindCount };

    void onAnswer(ZELRTC_SESSION_ID, const std::string&) override {
        told(kAnswer);
    }
    void onIceCandidate(ZELRTC_SESSION_ID, const std::string&) override {
        told(kCandidate);
    }
    void onStateChange(ZELRTC_SESSION_ID, RTC_PEER_CONNECTION_STATE) override {
        told(kState);
    }
    void onAudioFrame(ZELRTC_SESSION_ID, void*, unsigned int) override {
        told(kAudio);
    }

    /** The next report of this kind ends the call. */
    void endOn(Kind kind, ZelRtcSession* session) {
        session_ = session;
        endingKind_.store(kind);
    }

    void end(ZelRtcSession& session) {
        session.teminate();
        ended_.store(true);
    }

    bool hasEnded() const {
        return ended_.load();
    }

    unsigned long count(Kind kind) const {
        return counts_[kind].load();
    }

    unsigned long late() const {
        return late_.load();
    }

    /** Called before a handler is fired, on its thread. */
    void beforeHandler() {
        beganAfterEnd() = hasEnded();
    }

private:
    static bool& beganAfterEnd() {
        static thread_local bool began = false;
        return began;
    }

    void told(Kind kind) {
        counts_[kind].fetch_add(1, std::memory_order_relaxed);
        if (beganAfterEnd()) {
            late_.fetch_add(1);
        }
        if (endingKind_.load() == kind) {
            end(*session_);
        }
    }

    std::atomic<unsigned long> counts_[kKindCount] = {};
    std::atomic<unsigned long> late_{0};
    std::atomic<bool> ended_{false};
    std::atomic<int> endingKind_{kKindCount};
    ZelRtcSession* session_ = nullptr;
};

class Threads : public SessionTest {
protected:
    /** Fires every handler in turn, at full speed. */
    void fireAll(RecordedConnection& from) {
        Frame frame;
        memset(&frame, 0, sizeof(frame));
        fire([&] { from.fireCandidate("{\"candidate\":\"candidate:1 1 udp\"}"); });
        fireState(from, RTC_PEER_CONNECTION_STATE_CONNECTED);
        fire([&] { from.video().fireFrame(frame); });
        fire([&] { from.audio().fireFrame(frame); });
        fire([&] { from.video().fireBandwidth(1e6); });
        fire([&] { from.audio().fireBandwidth(64e3); });
        fire([&] { from.fireSenderBandwidth(); });
        fire([&] { from.fireGatheringEnd(); });
        fireState(from, RTC_PEER_CONNECTION_STATE_DISCONNECTED);
        fireState(from, RTC_PEER_CONNECTION_STATE_CONNECTED);
    }

    // The SDK reports the states of one connection one at a time.
    void fireState(RecordedConnection& from, UINT32 state) {
        const std::lock_guard<std::mutex> oneAfterTheOther(states_);
        fire([&] { from.fireState(state); });
    }

    template <typename Handler>
    void fire(const Handler& handler) {
        callback->beforeHandler();
        handler();
        handlerCalls.fetch_add(1, std::memory_order_relaxed);
    }

    /** Starts writing video and audio; every result must be a documented one. */
    void startMedia(Repeating& media) {
        media.start(1, [this] {
            static uint8_t data[64];
            note(session->writeVideoData(data, sizeof(data), 1, kKeyFrame, 1));
            note(session->writeVideoData(data, sizeof(data), 2, 0, 2));
        });
        media.start(1, [this] {
            static uint8_t data[64];
            note(session->writeAudioData(data, sizeof(data), 1, 0));
        });
    }

    void note(int result) {
        if (result == 0) {
            written.fetch_add(1, std::memory_order_relaxed);
        } else if (result != -1 && result != -127) {
            badResults.fetch_add(1, std::memory_order_relaxed);
        }
    }

    /** A new call with fresh counts: those of an earlier call would satisfy every wait of this one. */
    void create(const ZelRtcSessionConfig& config) {
        handlerCalls.store(0);
        written.store(0);
        callback.reset(new StormCallback());
        session.reset(new ZelRtcSession(kSid, config, callback.get()));
    }

    /** Destroys the session while handlers keep running, until the SDK closes the connection. */
    void destroyUnder(Repeating& handlers) {
        sdk.during(SdkFunction::closePeerConnection, [&handlers] { handlers.stop(); });
        session.reset();
        EXPECT_EQ(callback->late(), 0U) << "no callback starts after the end of the call";
        sdk.reset();
    }

    std::unique_ptr<StormCallback> callback;
    std::atomic<unsigned long> handlerCalls{0};
    std::atomic<unsigned long> written{0};
    std::atomic<unsigned long> badResults{0};

private:
    std::mutex states_;
};

TEST_F(Threads, StormOfAllHandlersBesideMediaStreamChoiceAndTheEndOfTheCall) {
    const unsigned long callsBeforeAndAfterTheEnd = 7500;
    const unsigned sessions = 10;
    unsigned long allHandlerCalls = 0;
    unsigned long allWritten = 0;
    const Clock::time_point start = Clock::now();
    for (unsigned i = 0; i < sessions; ++i) {
        create(i % 2 == 0 ? trickleConfig(iceServers(2)) : completeAnswerConfig(iceServers(2)));
        ASSERT_EQ(session->init(kOffer), 0);
        RecordedConnection& from = connection();
        sdk.beQuiet(true);

        Repeating handlers;
        Repeating media;
        handlers.start(kHandlerThreads, [this, &from] { fireAll(from); });
        startMedia(media);
        int choice = 0;
        ASSERT_TRUE(waitFor([&] {
            ++choice;
            session->setAudioVideoType(choice % 2, choice % 3);
            session->getState();
            session->addRemoteCandidate("{}");
            return handlerCalls.load(std::memory_order_relaxed) >= callsBeforeAndAfterTheEnd;
        }));
        session->setAudioVideoType(1, 1);
        const unsigned long before = written.load();
        EXPECT_TRUE(waitFor([&] { return written.load() > before + 10; }));

        callback->end(*session);
        const unsigned long atTheEnd = handlerCalls.load();
        EXPECT_TRUE(waitFor(
            [&] { return handlerCalls.load(std::memory_order_relaxed) >= atTheEnd + callsBeforeAndAfterTheEnd; }));
        media.stop();
        EXPECT_EQ(session->getSessionId(), kSid);
        destroyUnder(handlers);
        EXPECT_GT(callback->count(StormCallback::kState), 0U);
        EXPECT_GT(callback->count(StormCallback::kAudio), 0U);
        EXPECT_GT(callback->count(StormCallback::kAnswer), 0U);
        allHandlerCalls += handlerCalls.load();
        allWritten += written.load();
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    EXPECT_EQ(badResults.load(), 0U);
    EXPECT_GE(allHandlerCalls, 2 * callsBeforeAndAfterTheEnd * sessions);
    printf("%lu handler calls, %.0f a second, beside %lu frames\n", allHandlerCalls,
           static_cast<double>(allHandlerCalls) / seconds, allWritten);
}

TEST_F(Threads, DestructionWithoutAnEndOfTheCallStopsReportsAsWell) {
    for (unsigned i = 0; i < 30; ++i) {
        create(trickleConfig(iceServers(1)));
        ASSERT_EQ(session->init(kOffer), 0);
        RecordedConnection& from = connection();
        sdk.beQuiet(true);
        Repeating handlers;
        handlers.start(kHandlerThreads, [this, &from] { fireAll(from); });
        EXPECT_TRUE(waitFor([&] { return callback->count(StormCallback::kAudio) > 10; }));
        destroyUnder(handlers);
    }
}

TEST_F(Threads, HandlersMayRunInsideSetLocalDescriptionOnTheCallersThread) {
    for (const ZelRtcSessionConfig& config : {trickleConfig(), completeAnswerConfig()}) {
        create(config);
        sdk.during(SdkFunction::setLocalDescription, [this] { fireAll(connection()); });
        EXPECT_EQ(session->init(kOffer), 0);
        EXPECT_EQ(session->getState(), RTC_PEER_CONNECTION_STATE_CONNECTED);
        EXPECT_EQ(callback->count(StormCallback::kAnswer), 1U);
        EXPECT_EQ(callback->count(StormCallback::kState), 3U);
        EXPECT_EQ(callback->count(StormCallback::kAudio), 1U);
    }
}

// Handlers start while the local description is being set and continue after init returns.
TEST_F(Threads, HandlersMayRunFromSetLocalDescriptionOnOnThreadsOfTheSdk) {
    for (unsigned i = 0; i < 30; ++i) {
        create(i % 2 == 0 ? trickleConfig() : completeAnswerConfig());
        Repeating handlers;
        Repeating media;
        sdk.during(SdkFunction::setLocalDescription, [&] {
            RecordedConnection& from = connection();
            sdk.beQuiet(true);
            handlers.start(kHandlerThreads, [this, &from] { fireAll(from); });
            EXPECT_TRUE(waitFor([&] { return callback->count(StormCallback::kState) > 4; }));
            startMedia(media);
        });
        EXPECT_EQ(session->init(kOffer), 0);
        session->setAudioVideoType(1, 1);
        EXPECT_TRUE(waitFor([&] { return written.load() > 10; }));
        callback->end(*session);
        media.stop();
        destroyUnder(handlers);
    }
    EXPECT_EQ(badResults.load(), 0U);
}

TEST_F(Threads, GatheringMayEndBeforeInitReturnsAndLosesNoAnswer) {
    for (unsigned i = 0; i < 200; ++i) {
        create(completeAnswerConfig());
        std::thread gathering;
        sdk.during(SdkFunction::setLocalDescription, [&] {
            RecordedConnection& from = connection();
            gathering = std::thread([&from] { from.fireGatheringEnd(); });
        });
        EXPECT_EQ(session->init(kOffer), 0);
        gathering.join();
        EXPECT_EQ(callback->count(StormCallback::kAnswer), 1U);
        session.reset();
        sdk.reset();
    }
}

TEST_F(Threads, ConnectedMayBeReportedBeforeInitReturnsAndMediaSpendsNoKeyFrame) {
    for (unsigned i = 0; i < 30; ++i) {
        create(trickleConfig());
        Repeating media;
        std::thread connecting;
        sdk.during(SdkFunction::setLocalDescription, [&] {
            RecordedConnection& from = connection();
            sdk.beQuiet(true);
            connecting = std::thread([&from] { from.fireState(RTC_PEER_CONNECTION_STATE_CONNECTED); });
            startMedia(media);
            EXPECT_TRUE(waitFor([this] { return session->getState() == RTC_PEER_CONNECTION_STATE_CONNECTED; }));
        });
        EXPECT_EQ(session->init(kOffer), 0);
        EXPECT_TRUE(waitFor([&] { return written.load() > 10; }));
        connecting.join();
        media.stop();
        session.reset();
        sdk.reset();
    }
    EXPECT_EQ(badResults.load(), 0U) << "no frame reaches the SDK without its transceiver";
}

TEST_F(Threads, TheCallMayEndInsideEachCallbackWhileAllHandlersRun) {
    for (const int kind :
         {StormCallback::kAnswer, StormCallback::kCandidate, StormCallback::kState, StormCallback::kAudio}) {
        for (unsigned i = 0; i < 8; ++i) {
            create(kind == StormCallback::kAnswer ? completeAnswerConfig() : trickleConfig());
            ASSERT_EQ(session->init(kOffer), 0);
            RecordedConnection& from = connection();
            sdk.beQuiet(true);
            callback->endOn(static_cast<StormCallback::Kind>(kind), session.get());
            Repeating handlers;
            handlers.start(kHandlerThreads, [this, &from] { fireAll(from); });
            EXPECT_TRUE(waitFor([this] { return callback->hasEnded(); }));
            const unsigned long calls = handlerCalls.load();
            EXPECT_TRUE(waitFor([&] { return handlerCalls.load() > calls + 100; }));
            destroyUnder(handlers);
        }
    }
}

// A suppression hides every later mistake in the same place, so adding one must be a decision.
TEST(Suppressions, AreTheseAndNoOthers) {
    std::ifstream file(ZELRTC_TSAN_SUPPRESSIONS);
    ASSERT_TRUE(file.is_open());
    std::vector<std::string> entries;
    for (std::string entry; std::getline(file, entry);) {
        if (!entry.empty() && entry[0] != '#') {
            entries.push_back(entry);
        }
    }
    EXPECT_THAT(entries, ::testing::ElementsAre("race_top:^ZelRtcSession::getState()$",
                                                "race_top:^ZelRtcSession::setAudioVideoType(int, int)$",
                                                "race_top:^ZelRtcSession::init("));
}

}  // namespace
}  // namespace zelrtc::test
