/** @file viewer_call.h The course of one call, from the offer to the hang-up. */
#ifndef APPS_VIEWER_VIEWER_CALL_H
#define APPS_VIEWER_VIEWER_CALL_H

#include <atomic>
#include <memory>

#include "call_statistics.h"
#include "options.h"
#include "signalling.h"
#include "task_queue.h"
#include "viewer_peer.h"

namespace zelrtc::viewer {

class ViewerCall : private PeerListener, private SignallingListener {
public:
    /** `options` and `interrupted` must outlive the call; it hangs up once `interrupted` is true. */
    ViewerCall(const Options& options, const std::atomic<bool>& interrupted);
    ~ViewerCall() override;
    ViewerCall(const ViewerCall&) = delete;
    ViewerCall& operator=(const ViewerCall&) = delete;

    /** Runs the whole call on the calling thread; failures go into the record. Once only. */
    void run();

    CallRecord record() const {
        return statistics_.record();
    }

private:
    void onLocalCandidate(const Candidate& candidate) override;
    void onGathered() override;
    void onIceConnected() override;
    void onState(const std::string& name) override;
    void onKeyFrameWanted() override;
    void onRemoteCandidate(const Candidate& candidate) override;
    void onCameraState(const std::string& name, double ms) override;
    void onHeard(uint64_t frames) override;
    void onEnded(const std::string& reason) override;

    void place();
    std::string completeOffer();
    void connect();
    void watch();
    void switchStreams();
    void selectStream(int stream);
    void sendCandidate(const Candidate& candidate);
    void hangUp();
    bool isOver() const;
    bool leaves(AbortPoint point);

    const Options& options_;
    const std::atomic<bool>& interrupted_;
    CallStatistics statistics_;
    TaskQueue tasks_;
    std::unique_ptr<ViewerPeer> peer_;
    std::unique_ptr<Signalling> signalling_;

    // Used only on the call's thread.
    bool placed_ = false;
    bool gathered_ = false;
    bool hasCandidate_ = false;
    bool iceConnected_ = false;
    bool connected_ = false;
    bool broken_ = false;
    bool endedByCamera_ = false;
    bool left_ = false;
    std::vector<Candidate> waitingCandidates_;  // found before the call was placed
    size_t switchesDone_ = 0;
    TaskQueue::Clock::time_point connectedAt_;
};

}  // namespace zelrtc::viewer

#endif
