// One peer connection: a call's policy, negotiation and handlers.
#ifndef HOSTSDK_SRC_CONNECTION_PEER_CONNECTION_H
#define HOSTSDK_SRC_CONNECTION_PEER_CONNECTION_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "connection/connection_monitor.h"
#include "connection/gathering.h"
#include "connection/handler_executor.h"
#include "connection/statistics.h"
#include "connection/transceiver.h"
#include "engine/webrtc_pipeline.h"
#include "text/answer.h"

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
    void callCandidateHandler(PCHAR json);
    void reportState(RTC_PEER_CONNECTION_STATE state);
    void reportFrame(RTC_CODEC codec, Frame* frame);
    void reportBandwidth(double bitsPerSecond);
    void checkConnection();
    void setReady(bool ready);
    // The first transceiver of this kind that answers no m-line yet.
    Transceiver* claimTransceiver(const std::string& kind, std::vector<Transceiver*>* claimed);
    void addMedia();
    std::shared_ptr<WebRtcPipeline> currentPipeline();
    STATUS selectedCandidate(Side side, PRtcIceCandidateStats record);
    STATUS iceServer(PRtcIceServerStats record);

    std::vector<IceServer> servers_;
    ConnectionMonitor monitor_;
    std::shared_ptr<HandlerExecutor> executor_;
    // Guards the pointer to the pipeline, which is shared so that no call into the pipeline holds the lock.
    std::mutex mutex_;
    std::shared_ptr<WebRtcPipeline> pipeline_;
    std::vector<std::unique_ptr<Transceiver>> transceivers_;
    std::vector<OfferedMedia> offer_;
    std::vector<AnsweredFormat> answered_;
    std::atomic<bool> hasAskedServers_{false};
    Gathering gathering_;  // used only on the handlers' thread
    RtcOnIceCandidate onCandidate_ = nullptr;
    UINT64 onCandidateData_ = 0;
    RtcOnConnectionStateChange onState_ = nullptr;
    UINT64 onStateData_ = 0;
};

}  // namespace zelrtc::hostsdk

#endif
