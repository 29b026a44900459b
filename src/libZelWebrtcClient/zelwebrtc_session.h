/** @file zelwebrtc_session.h One WebRTC call, answered by a camera. */
#ifndef ZELWEBRTC_SESSION_H
#define ZELWEBRTC_SESSION_H

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "zelwebrtc.h"

/**
 * One call. Construct it, pass the viewer's offer to init, write media while connected, call teminate, destroy it.
 *
 * Threads. A session has no threads and takes no locks. Control is one thread of the application, or several that share
 * a lock; a control operation never overlaps with another one. Different sessions are independent.
 *
 * | operation or callback | thread | may overlap with |
 * |---|---|---|
 * | constructor | control | nothing |
 * | init | control | writes, teminate, getters, callbacks |
 * | addRemoteCandidate | control, also inside a callback | writes, teminate, getters, callbacks |
 * | setAudioVideoType | control, also inside a callback | writeAudioData, teminate, getters, callbacks |
 * | writeVideoData | any, one call at a time | everything but constructor, destructor and setAudioVideoType |
 * | writeAudioData | any, one call at a time | everything but constructor and destructor |
 * | teminate, getState, getSessionId | any | everything but constructor and destructor |
 * | destructor | control, never an SDK thread | callbacks that are already running; it waits for them |
 * | onAnswer, trickle | the caller's, inside init | whatever init may overlap with |
 * | onAnswer, not trickle | SDK, possibly before init returns | everything but constructor |
 * | onIceCandidate, onStateChange, onAudioFrame | SDK, possibly before init returns | everything but constructor |
 *
 * Failures. An operation that fails logs one line per failure and returns the status of the SDK call that failed, as an
 * int. The library throws only std::bad_alloc: from the constructor, from init, and on SDK threads from the handlers
 * that copy a candidate or an answer.
 *
 * Stack. init, the destructor and the SDK's callback threads need tens of kilobytes of stack for the SDK's records.
 */
class ZelRtcSession {
public:
    /**
     * Prepares a call; opens and sends nothing. Servers with a text of more than 256 bytes are skipped and logged.
     * @param sid      the application's id for the call
     * @param config   copied
     * @param callback receives all events; not owned, must outlive the session; null reports nothing
     */
    ZELRTC_API ZelRtcSession(ZELRTC_SESSION_ID sid, const ZelRtcSessionConfig& config,
                             ZelWebrtcSessionCallback* callback);

    /**
     * Ends the call, logs the ICE servers' statistics and releases the connection. Starts no callback. Blocks until the
     * SDK has closed the connection.
     */
    ZELRTC_API ~ZelRtcSession();

    /**
     * Answers an offer. In trickle mode onAnswer runs before this returns, otherwise when candidates have been
     * gathered.
     * @param offer the viewer's session description as the SDK's JSON
     * @return 0; 2 if the session already has a call, which continues; otherwise the SDK's status. After a failure, or
     *         an exception, everything has been released and init may be called again.
     */
    ZELRTC_API int init(const std::string& offer);

    /**
     * Adds a candidate of the viewer. Call it after init has succeeded.
     * @param candidate the candidate as the SDK's JSON
     * @return 0, even if the SDK cannot use the candidate; 2 if the text exceeds 10240 bytes or its candidate line 255;
     *         otherwise the SDK's status. A refused candidate changes nothing.
     */
    ZELRTC_API int addRemoteCandidate(const std::string& candidate);

    /**
     * Selects audio and video independently; out-of-range values are ignored. A newly selected video stream starts with
     * its next key frame.
     * @param audioType 0 off, 1 on (default)
     * @param videoType the video stream: 0, 1 (default) or 2
     * @return always 0
     */
    ZELRTC_API int setAudioVideoType(int audioType, int videoType);

    /**
     * Sends one H.264 access unit in Annex B format. Allocates and copies nothing.
     * @param data           the access unit, valid until this returns; a key frame includes its parameter sets
     * @param size           in bytes
     * @param presentationTs in microseconds
     * @param flags          ZELRTC_FRAME_FLAG_KEY_FRAME for a key frame; other bits are ignored
     * @param videoType      the frame's stream; frames of other streams than the selected one are skipped
     * @return ZELRTC_WRITE_OK, ZELRTC_WRITE_NOT_CONNECTED, ZELRTC_WRITE_WAITING_KEY_FRAME or the SDK's status. A frame
     *         that the session refuses changes nothing. A key frame that the SDK refuses has still let the next frames
     *         through, so ask the encoder for another.
     */
    ZELRTC_API int writeVideoData(uint8_t* data, size_t size, int64_t presentationTs, int flags, int videoType);

    /**
     * Sends one frame of audio: G.711 mu-law, 8 kHz. Allocates and copies nothing.
     * @param data           the samples, valid until this returns
     * @param size           in bytes
     * @param presentationTs in microseconds
     * @param flags          ignored
     * @return as writeVideoData, but audio never waits for a key frame
     */
    ZELRTC_API int writeAudioData(uint8_t* data, size_t size, int64_t presentationTs, int flags);

    /**
     * Ends the call: after this returns, no media is sent and no new callback starts. The connection stays open until
     * destruction. May be repeated.
     * @return always 0
     */
    ZELRTC_API int teminate();

    /** @return the state last reported by the SDK; NONE before the first */
    ZELRTC_API RTC_PEER_CONNECTION_STATE getState();

    /** @return the id given at construction */
    ZELRTC_API ZELRTC_SESSION_ID getSessionId();

private:
    ZelRtcSession(const ZelRtcSession&);
    ZelRtcSession& operator=(const ZelRtcSession&);

    class NewConnection;

    UINT32 setUp(PRtcPeerConnection pPeerConnection, PRtcRtpTransceiver* ppVideoTransceiver,
                 PRtcRtpTransceiver* ppAudioTransceiver);
    UINT32 registerHandlers(PRtcPeerConnection pPeerConnection);
    UINT32 addVideoTrack(PRtcPeerConnection pPeerConnection, PRtcRtpTransceiver* ppTransceiver);
    UINT32 addAudioTrack(PRtcPeerConnection pPeerConnection, PRtcRtpTransceiver* ppTransceiver);
    UINT32 addTrack(PRtcPeerConnection pPeerConnection, PRtcMediaStreamTrack pTrack, RtcOnFrame onFrame,
                    PRtcRtpTransceiver* ppTransceiver);
    UINT32 handleOffer(PRtcPeerConnection pPeerConnection, const std::string& payload);
    UINT32 releaseRtcConnection(PRtcPeerConnection* ppPeerConnection);
    int writeData(PRtcRtpTransceiver rtpTransceiver, uint8_t* data, size_t size, int64_t presentationTs, int flags);

    static VOID onIceCandidateHandlerStatic(UINT64 customData, PCHAR candidateJson);
    void onIceCandidateHandler(PCHAR candidateJson);
    static VOID onConnectionStateChangeStatic(UINT64 customData, RTC_PEER_CONNECTION_STATE newState);
    void onConnectionStateChange(RTC_PEER_CONNECTION_STATE newState);
    static VOID onVideoFrameHandlerStatic(UINT64 customData, PFrame pFrame);
    void onVideoFrameHandler(PFrame pFrame);
    static VOID onAudioFrameHandlerStatic(UINT64 customData, PFrame pFrame);
    void onAudioFrameHandler(PFrame pFrame);
    static VOID onBandwidthEstimationStatic(UINT64 customData, DOUBLE maxiumBitrate);
    void onBandwidthEstimation(DOUBLE maxiumBitrate);
    static VOID onSenderBandwidthEstimationStatic(UINT64 customData, UINT32 txBytes, UINT32 rxBytes,
                                                  UINT32 txPacketsCnt, UINT32 rxPacketsCnt, UINT64 duration);
    void onSenderBandwidthEstimation(UINT32 txBytes, UINT32 rxBytes, UINT32 txPacketsCnt, UINT32 rxPacketsCnt,
                                     UINT64 duration);

    ZELRTC_SESSION_ID sid_;
    ZelWebrtcSessionCallback* callback_;
    ZelRtcSessionConfig sessionConfig_;
    PRtcPeerConnection pPeerConnection_;
    PRtcRtpTransceiver pVideoRtcRtpTransceiver_;
    PRtcRtpTransceiver pAudioRtcRtpTransceiver_;
    RTC_PEER_CONNECTION_STATE state_;
    bool waitKeyframe_;
    double offerReceiveTime_;
    ATOMIC_BOOL connected_;
    ATOMIC_BOOL terminated_;
    UINT32 videoType_;
    UINT32 audioType_;
};

/**
 * Corrects a session's configuration in place: an Alexa call becomes a trickle call without servers; any other call
 * loses the servers with a text of more than 256 bytes, each with a log line. If memory runs out it throws and changes
 * nothing. Control thread.
 * @param sid            for the log
 * @param pSessionConfig must not be null
 */
ZELRTC_API void checkSessionConfig(int sid, ZelRtcSessionConfig* pSessionConfig);

/**
 * Creates the SDK's connection. Control thread.
 * @param sid                 for the log
 * @param sessionConfig       already corrected
 * @param ppRtcPeerConnection receives the connection, which the caller owns; on failure, whatever the SDK left there
 * @return 0 or the SDK's status
 */
ZELRTC_API UINT32 initializePeerConnection(ZELRTC_SESSION_ID sid, ZelRtcSessionConfig sessionConfig,
                                           PRtcPeerConnection* ppRtcPeerConnection);

/**
 * Logs the selected pair of candidates. SDK thread.
 * @param pPeerConnection if null, nothing is logged and 0 returned
 * @return 0 or the SDK's status; lines logged before a failure stay
 */
ZELRTC_API UINT32 logSelectedIceCandidatesInformation(PRtcPeerConnection pPeerConnection);

/**
 * Logs address, protocol and counters of each ICE server. Control thread.
 * @param pPeerConnection if null, nothing is logged and 0 returned
 * @param iceUriCount     the number of servers in the configuration
 * @return 0, or the SDK's status for the first server that failed; later servers are not queried
 */
ZELRTC_API UINT32 gatherIceServerStats(PRtcPeerConnection pPeerConnection, int iceUriCount);

#endif
