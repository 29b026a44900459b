/**
 * @file call.h One viewer: how an application owns a ZelRtcSession, feeds it and ends it.
 *
 * Three kinds of thread meet here. Control threads (HTTP requests and the call keeper) start, steer and end the call,
 * one at a time under controlMutex_. Media threads write frames under mediaMutex_; changing streams takes it as well,
 * because that must not overlap a write. SDK threads run the callbacks. They take neither lock, note what happened and
 * return: destroying the session waits for them while controlMutex_ is held.
 */
#ifndef APPS_CAMERA_CALL_CALL_H
#define APPS_CAMERA_CALL_CALL_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include <zelwebrtc_session.h>

#include "events/call_history.h"
#include "events/log_sink.h"
#include "media/media_hub.h"
#include "media/talk_back.h"

namespace zelrtc::camera {

/** What a call sends. */
struct Choice {
    int video; /**< number of the video stream */
    bool audio;
};

/** What GET /calls says about a call. */
struct CallSummary {
    int id;
    std::string state;
    Choice choice;
    bool trickle;
    double seconds; /**< since the offer arrived */
};

/** One call, from its offer to its end. Always owned by a shared_ptr. */
class Call : public ZelWebrtcSessionCallback, public FrameSink, public std::enable_shared_from_this<Call> {
public:
    /** @param recordPath where to record the viewer's voice; empty: do not record */
    Call(ZELRTC_SESSION_ID id, const ZelRtcSessionConfig& config, const std::string& recordPath, MediaHub& hub);
    ~Call() override = default;
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    /**
     * Passes the offer to the session and starts its media. Control threads, once.
     * @throw Problem when the session refuses it, or the call has been ended meanwhile
     */
    void start(const std::string& offer);

    /** Waits for the answer. @return nothing if the limit passes or the call ends first */
    std::optional<std::string> waitForAnswer(std::chrono::milliseconds limit);

    /** Passes on a candidate of the viewer. Control threads. @throw Problem when it is refused or the call has ended */
    void addCandidate(const std::string& candidate);

    /** Changes what is sent; whatever is not given stays. Control threads. @throw Problem when the call has ended */
    Choice choose(std::optional<int> video, std::optional<bool> audio);

    /** Records and measures the viewer's voice. Skipped while the call starts or ends. Control threads. */
    void tick();

    /** Why the call should end now; nothing while it should go on. */
    std::optional<std::string> reasonToEnd() const;

    /**
     * Ends the call: stops the frames, then the callbacks, then destroys the session. Control threads, never an SDK
     * thread. Further calls do nothing.
     */
    void end(const std::string& reason);

    int id() const {
        return id_;
    }
    bool isTrickle() const {
        return isTrickle_;
    }
    std::shared_ptr<EventLog> events() const {
        return events_;
    }
    CallSummary summary() const;

    void onVideo(const AccessUnit& unit) override;
    void onAudio(const AudioFrame& frame) override;

    void onAnswer(ZELRTC_SESSION_ID sid, const std::string& answer) override;
    void onIceCandidate(ZELRTC_SESSION_ID sid, const std::string& candidate) override;
    void onStateChange(ZELRTC_SESSION_ID sid, RTC_PEER_CONNECTION_STATE state) override;
    void onAudioFrame(ZELRTC_SESSION_ID sid, void* data, unsigned int size) override;

private:
    using Clock = std::chrono::steady_clock;

    void requireSession() const;
    void stopFeeding();
    void askForKeyFrameAgain(bool isKeyFrame, int result);
    std::chrono::milliseconds age() const;
    std::chrono::milliseconds timeInState() const;

    const ZELRTC_SESSION_ID id_;
    const bool isTrickle_;
    const Clock::time_point arrived_ = Clock::now();
    MediaHub& hub_;
    const std::shared_ptr<EventLog> events_ = std::make_shared<EventLog>();
    const LogSubscription logLines_;
    TalkBack talkBack_;

    std::atomic<RTC_PEER_CONNECTION_STATE> state_{RTC_PEER_CONNECTION_STATE_NONE};
    std::atomic<int64_t> stateSinceMs_{0};  // counted from arrived_
    std::atomic<bool> wasConnected_{false};
    std::atomic<int> video_{1};  // a session starts with stream 1 and audio on
    std::atomic<bool> audio_{true};

    std::mutex answerMutex_;
    std::condition_variable answerReady_;
    std::optional<std::string> answer_;
    bool hasNoAnswer_ = false;

    std::mutex controlMutex_;
    std::unique_ptr<ZelRtcSession> session_;

    std::mutex mediaMutex_;
    bool isFed_ = false;
    bool wantsKeyFrame_ = false;
    Clock::time_point askedForKeyFrame_;
};

}  // namespace zelrtc::camera

#endif
