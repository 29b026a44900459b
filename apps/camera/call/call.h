/**
 * @file call.h One viewer: how an application owns a ZelRtcSession, feeds it and ends it.
 *
 * Three kinds of thread meet here. Control threads (those of HTTP requests and the call keeper) start, steer and end
 * the call; they take controlMutex_, so they come one at a time. Media threads write frames; they take mediaMutex_,
 * which steering also takes, because selecting streams must not overlap a write. The SDK's threads call back; they
 * take neither, only note what happened and return: the session's destruction waits for them.
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

#include "call/key_frame_retry.h"
#include "events/call_history.h"
#include "events/log_sink.h"
#include "media/media_hub.h"
#include "media/talk_back.h"
#include "process/random_key.h"

namespace zelrtc::camera {

/** What a call sends. */
struct Selection {
    int video; /**< number of the video stream */
    bool audio;
};

/** What anybody may know of a call. */
struct CallSummary {
    std::string state;
    Selection selection;
    bool trickle;
    double seconds; /**< since the offer arrived */
};

/** One call, from its offer to its end. Always owned by a shared_ptr. */
class Call : public ZelWebrtcSessionCallback, public FrameSink, public std::enable_shared_from_this<Call> {
public:
    /**
     * @param id         of the session; in logs and names of recordings, no secret
     * @param recordPath where to record the viewer's voice; empty: do not record
     * @param recordings what all recordings may take
     */
    Call(ZELRTC_SESSION_ID id, const ZelRtcSessionConfig& config, const std::string& recordPath,
         RecordingBudget& recordings, MediaHub& hub);
    ~Call() override = default;
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    /**
     * Passes the offer to the session and starts its media. Control threads, once.
     * @throw CallError when the session refuses it, or the call has been ended meanwhile
     */
    void start(const std::string& offer);

    /** Waits for the answer. @return nothing if the limit passes or the call ends first */
    std::optional<std::string> waitForAnswer(std::chrono::milliseconds limit);

    /** Passes on a candidate of the viewer. Control threads. @throw CallError when it is refused or the call has ended
     */
    void addCandidate(const std::string& candidate);

    /**
     * Changes what is sent; whatever is not given stays. At once, or, within half a second of the last change, when
     * that has passed and applyChoice is called: encoders start and stop for it. Of several choices the last holds.
     * Control threads.
     * @return what will be sent
     * @throw CallError when the call has ended
     */
    Selection select(std::optional<int> video, std::optional<bool> audio);

    /** Asks for a key frame of the stream that is sent, as the viewer has lost its picture. Control threads. */
    void requestKeyFrame();

    /** Makes a choice true that had to wait, if it is time. Skipped while the call starts or ends. Control threads. */
    void applyChoice();

    /** Records and measures the viewer's voice. Skipped while the call starts or ends. Control threads. */
    void recordTalkBack();

    /** Whether the viewer has ever been connected. */
    bool wasConnected() const {
        return wasConnected_;
    }

    /** Whether the viewer has had the answer for so long, and has never been connected. */
    bool keepsWaiting(std::chrono::milliseconds limit) const;

    /** Why the call should end now; nothing while it should go on. */
    std::optional<std::string> reasonToEnd() const;

    /**
     * Ends the call: no more frames go in, no more callbacks come out, the viewer is told, then the session is
     * destroyed, which can take the SDK seconds. A thread that may wait so long, never one of the SDK's; may be
     * repeated.
     */
    void end(const std::string& reason);

    int id() const {
        return id_;
    }
    /** What a viewer names the call with, to hear, steer and end it; a secret between him and the camera. */
    const std::string& key() const {
        return key_;
    }
    bool isTrickle() const {
        return isTrickle_;
    }
    std::shared_ptr<CallHistory> events() const {
        return events_;
    }
    CallSummary summary() const;

    bool onVideo(const AccessUnit& unit) override;
    void onAudio(const AudioFrame& frame) override;
    void onSource(int stream, const SourceState& state) override;

    void onAnswer(ZELRTC_SESSION_ID sid, const std::string& answer) override;
    void onIceCandidate(ZELRTC_SESSION_ID sid, const std::string& candidate) override;
    void onStateChange(ZELRTC_SESSION_ID sid, RTC_PEER_CONNECTION_STATE state) override;
    void onAudioFrame(ZELRTC_SESSION_ID sid, void* data, unsigned int size) override;

private:
    using Clock = std::chrono::steady_clock;

    void requireSession() const;
    void stopFeeding();
    void tellEnd(const std::string& reason);
    void applyIfDue();
    void apply(const Selection& selection);
    std::chrono::milliseconds age() const;
    std::chrono::milliseconds timeInState() const;

    const ZELRTC_SESSION_ID id_;
    const std::string key_ = randomKey();
    const bool isTrickle_;
    const Clock::time_point arrived_ = Clock::now();
    MediaHub& hub_;
    const std::shared_ptr<CallHistory> events_ = std::make_shared<CallHistory>();
    const LogSubscription logLines_;
    TalkBack talkBack_;

    std::atomic<RTC_PEER_CONNECTION_STATE> state_{RTC_PEER_CONNECTION_STATE_NONE};
    std::atomic<int64_t> stateSinceMs_{0};  // counted from arrived_
    std::atomic<bool> wasConnected_{false};
    std::atomic<int64_t> answeredMs_{-1};  // counted from arrived_; negative: not yet
    std::atomic<int> video_{1};            // a session starts with stream 1 and audio on
    std::atomic<bool> audio_{true};

    std::mutex answerMutex_;
    std::condition_variable answerReady_;
    std::optional<std::string> answer_;
    bool hasNoAnswer_ = false;

    std::mutex controlMutex_;
    std::unique_ptr<ZelRtcSession> session_;
    Selection chosen_{1, true};
    Clock::time_point applied_;  // when what is sent last changed

    std::mutex mediaMutex_;
    bool isFed_ = false;
    KeyFrameRetry keyFrameRetry_;
};

}  // namespace zelrtc::camera

#endif
