/** @file peer_connection.h One call. */
#ifndef HOSTSDK_SRC_CONNECTION_PEER_CONNECTION_H
#define HOSTSDK_SRC_CONNECTION_PEER_CONNECTION_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "connection/connection_monitor.h"
#include "connection/gathering.h"
#include "connection/handler_executor.h"
#include "connection/server_probe.h"
#include "connection/state_reports.h"
#include "connection/statistics.h"
#include "connection/transceiver.h"
#include "engine/webrtc_pipeline.h"
#include "text/answer_plan.h"
#include "text/written_answer.h"

namespace zelrtc::hostsdk {

// Derives from the record that callers hold. One thread at a time negotiates and closes; any thread may add candidates
// and read statistics.
class PeerConnection : public RtcPeerConnection {
public:
    // Null if GStreamer lacks an element.
    static std::unique_ptr<PeerConnection> create(const RtcConfiguration& configuration);

    PeerConnection(const PeerConnection&) = delete;
    PeerConnection& operator=(const PeerConnection&) = delete;
    PeerConnection(PeerConnection&&) = delete;
    PeerConnection& operator=(PeerConnection&&) = delete;
    ~PeerConnection();

    // No handler starts after it returns. Called from inside a handler, it does not wait for that one.
    void close();

    void setCandidateHandler(UINT64 customData, RtcOnIceCandidate handler);
    void setStateHandler(UINT64 customData, RtcOnConnectionStateChange handler);

    STATUS addTransceiver(const RtcMediaStreamTrack& track, RTC_RTP_TRANSCEIVER_DIRECTION direction,
                          PRtcRtpTransceiver* transceiver);
    STATUS setRemoteDescription(const RtcSessionDescriptionInit& description);
    STATUS createAnswer(PRtcSessionDescriptionInit description);
    STATUS setLocalDescription(const RtcSessionDescriptionInit& description);
    STATUS currentLocalDescription(PRtcSessionDescriptionInit description);
    STATUS addIceCandidate(const std::string& line);
    STATUS metrics(PRtcStats stats);

private:
    explicit PeerConnection(const RtcConfiguration& configuration);

    PipelineEvents makeEvents();
    void reportCandidate(unsigned int mLineIndex, const std::string& line);
    void reportGatheringEnd();
    void tellGatheringEnd();
    void callCandidateHandler(PCHAR json);
    bool isAwaitedByFarEnd() const;
    void onState(RTC_PEER_CONNECTION_STATE state);
    void reportState(RTC_PEER_CONNECTION_STATE state);
    void reportFrame(RTC_CODEC codec, Frame* frame);
    void reportBandwidth(double bitsPerSecond);
    void checkConnection();
    void setReady(bool ready);
    std::vector<AnsweringTrack> answeringTracks() const;
    void addMedia();
    STATUS writeAnswer(PRtcSessionDescriptionInit description);
    std::shared_ptr<const AnswerPlan> currentPlan();
    std::shared_ptr<WebRtcPipeline> currentPipeline();
    std::shared_ptr<ServerProbe> currentProbe();
    bool haveServersAnswered();
    STATUS selectedCandidate(Side side, PRtcIceCandidateStats record);
    STATUS iceServer(PRtcIceServerStats record);

    std::vector<IceServer> servers_;
    // Guards the pointers to pipeline and probe, which are shared so that a call into them does not hold the lock.
    std::mutex mutex_;
    std::shared_ptr<WebRtcPipeline> pipeline_;
    std::shared_ptr<ServerProbe> probe_;
    std::vector<std::unique_ptr<Transceiver>> transceivers_;
    // Guarded by the mutex, too: what is answered, with what so far.
    std::shared_ptr<const AnswerPlan> plan_;
    LocalSide local_;
    std::string engineAnswer_;
    bool hasSessionName_ = false;
    std::atomic<bool> isOfferComplete_{false};
    std::atomic<bool> hasLocalDescription_{false};
    std::atomic<bool> hasBeenConnected_{false};
    // Of the timer thread alone.
    ConnectionMonitor monitor_;
    Gathering gathering_;
    size_t relayCandidates_ = 0;
    RtcOnIceCandidate onCandidate_ = nullptr;
    UINT64 onCandidateData_ = 0;
    RtcOnConnectionStateChange onState_ = nullptr;
    UINT64 onStateData_ = 0;
    // After everything that its threads, which run from construction on, look at.
    std::shared_ptr<HandlerExecutor> executor_;
    StateReports stateReports_;
};

}  // namespace zelrtc::hostsdk

#endif
