/**
 * @file zelwebrtc_session.h One answering WebRTC call of a camera, from the viewer's offer to the release of the
 * connection.
 */
#ifndef ZELWEBRTC_SESSION_H
#define ZELWEBRTC_SESSION_H

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "zelwebrtc.h"

/**
 * One call. Construct it, give init the viewer's offer, feed media while it is connected, call teminate and destroy it.
 *
 * Threads. The session has none of its own and takes no locks. The application's control thread constructs and
 * destroys it and calls init, addRemoteCandidate, setAudioVideoType and teminate; media threads call the two writes;
 * the SDK's threads run the handlers and through them the callback. The application stops its media threads' use of
 * a session before it destroys it, and destroys it on a thread that is not the SDK's.
 *
 * Failures. An operation that fails has written one log line per failure and returns the status of the SDK call that
 * failed, as an int. Nothing is thrown, save by the constructor and by the text copies of init and the candidate
 * handlers when memory is exhausted.
 *
 * Stack. init, the destructor and the SDK's callback threads hold SDK records of tens of kilobytes on their stacks.
 */
class ZelRtcSession {
public:
    /**
     * Prepares a call; nothing is sent or opened yet. A configuration with mistakes still yields a working session:
     * servers with texts of more than 256 bytes are left out and logged.
     * @param sid      the application's name for the call
     * @param config   copied; the caller's record may go when this returns
     * @param callback told of everything; not owned, must outlive the session; may be null, then nothing is reported
     */
    ZELRTC_API ZelRtcSession(ZELRTC_SESSION_ID sid, const ZelRtcSessionConfig& config,
                             ZelWebrtcSessionCallback* callback);

    /**
     * Ends the call if teminate has not, logs the statistics of its ICE servers and releases the connection. No
     * callback is made. Blocks until the SDK has closed the connection; never call it on a thread of the SDK.
     */
    ZELRTC_API ~ZelRtcSession();

    /**
     * Answers an offer: creates the connection and its transceivers and produces the answer. In a trickle call
     * onAnswer runs before this returns; otherwise it follows when candidates have been gathered. Candidates and
     * states may be reported before this returns. Control thread.
     * @param offer the SDK's JSON form of the viewer's session description, unchanged
     * @return 0; 2 when the session is in a call already, which goes on untouched; otherwise the SDK's status: what
     *         was built has been released, and init may be called again with another offer
     */
    ZELRTC_API int init(const std::string& offer);

    /**
     * Adds a candidate of the viewer. Control thread, after a successful init.
     * @param candidate the SDK's JSON form of an ICE candidate
     * @return 0, also for a candidate that the SDK cannot use; 2 for a text over 10240 bytes or a candidate line over
     *         255; otherwise the SDK's status. A refused candidate changes nothing.
     */
    ZELRTC_API int addRemoteCandidate(const std::string& candidate);

    /**
     * Selects what is sent; the two choices are independent, and one out of range is ignored. Another video stream
     * starts with its next key frame. Not to be called while another thread writes video.
     * @param audioType 0 audio off, 1 audio on (as after construction)
     * @param videoType number of the video stream: 0, 1 (as after construction) or 2
     * @return always 0
     */
    ZELRTC_API int setAudioVideoType(int audioType, int videoType);

    /**
     * Sends one H.264 access unit in Annex B form. The frame is neither copied nor kept: the buffer must stay valid
     * until this returns. Any thread, one at a time. Nothing is allocated.
     * @param data           the access unit; parameter sets go with each key frame
     * @param size           bytes in data
     * @param presentationTs in microseconds
     * @param flags          ZELRTC_FRAME_FLAG_KEY_FRAME for a key frame; other bits are the application's own
     * @param videoType      the stream the frame belongs to; a frame of a stream that is not selected is left out
     * @return ZELRTC_WRITE_OK, ZELRTC_WRITE_NOT_CONNECTED, ZELRTC_WRITE_WAITING_KEY_FRAME or the SDK's status. A frame
     *         refused by the session leaves everything unchanged; a key frame refused by the SDK has opened the way
     *         for the frames that follow, so ask the encoder for another one.
     */
    ZELRTC_API int writeVideoData(uint8_t* data, size_t size, int64_t presentationTs, int flags, int videoType);

    /**
     * Sends one frame of G.711 mu-law audio at 8 kHz. Any thread, one at a time, also beside writeVideoData.
     * @param data           the samples; not copied, valid until this returns
     * @param size           bytes in data
     * @param presentationTs in microseconds
     * @param flags          the application's own, without effect
     * @return as writeVideoData, but audio never waits for a key frame
     */
    ZELRTC_API int writeAudioData(uint8_t* data, size_t size, int64_t presentationTs, int flags);

    /**
     * Ends the call for the application: from now on no media is sent and no callback is started. The connection
     * stays until destruction. Any thread, also from inside a callback; may be repeated.
     * @return always 0
     */
    ZELRTC_API int teminate();

    /**
     * Tells how the connection stands. Any thread; read without a lock.
     * @return the state last reported by the SDK, NONE before the first
     */
    ZELRTC_API RTC_PEER_CONNECTION_STATE getState();

    /**
     * Tells which call this is. Any thread.
     * @return the id given at construction
     */
    ZELRTC_API ZELRTC_SESSION_ID getSessionId();

private:
    ZelRtcSession(const ZelRtcSession&);
    ZelRtcSession& operator=(const ZelRtcSession&);

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
 * Corrects a session's own configuration in place: an Alexa call becomes a trickle call without servers, any other
 * call loses the servers with a text of more than 256 bytes, each with a line in the log. Control thread; throws only
 * when memory is exhausted, and the record is then unchanged.
 * @param sid            for the log
 * @param pSessionConfig must not be null
 */
ZELRTC_API void checkSessionConfig(int sid, ZelRtcSessionConfig* pSessionConfig);

/**
 * Creates the SDK's connection as the configuration asks. Control thread.
 * @param sid                 for the log
 * @param sessionConfig       a corrected configuration
 * @param ppRtcPeerConnection receives the connection; the caller owns it. On failure it is as the SDK left it.
 * @return the SDK's status
 */
ZELRTC_API UINT32 initializePeerConnection(ZELRTC_SESSION_ID sid, ZelRtcSessionConfig sessionConfig,
                                           PRtcPeerConnection* ppRtcPeerConnection);

/**
 * Logs the local and the remote candidate of the pair that the connection uses. Runs on the SDK's thread.
 * @param pPeerConnection null is no error: nothing is logged
 * @return 0, or the SDK's status; the lines written before a failure stay
 */
ZELRTC_API UINT32 logSelectedIceCandidatesInformation(PRtcPeerConnection pPeerConnection);

/**
 * Logs address, protocol and counters of each ICE server. Control thread.
 * @param pPeerConnection null is no error: nothing is logged
 * @param iceUriCount     how many servers the call was configured with
 * @return 0, or the SDK's status for the first server that failed; the servers after it are not asked
 */
ZELRTC_API UINT32 gatherIceServerStats(PRtcPeerConnection pPeerConnection, int iceUriCount);

#endif
