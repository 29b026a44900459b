/**
 * The WebRTC SDK's public interface, as far as the session layer and its demo use it. Declared for development hosts;
 * a device compiles against the installed SDK, whose records are larger: nothing may rely on an offset or a size.
 */
#ifndef HOSTSDK_WEBRTC_CLIENT_INCLUDE_H
#define HOSTSDK_WEBRTC_CLIENT_INCLUDE_H

#include <com/amazonaws/kinesis/video/common/PlatformUtils.h>
#include <com/amazonaws/kinesis/video/webrtcclient/Stats.h>

#ifdef __cplusplus
extern "C" {
#endif

#define MAX_ICE_SERVERS_COUNT 21
#define MAX_ICE_CONFIG_URI_LEN 256
#define MAX_ICE_CONFIG_USER_NAME_LEN 256
#define MAX_ICE_CONFIG_CREDENTIAL_LEN 256
#define MAX_SESSION_DESCRIPTION_INIT_SDP_LEN 25000
#define MAX_MEDIA_STREAM_ID_LEN 255
#define MAX_MEDIA_STREAM_TRACK_ID_LEN 255
#define MAX_ICE_CANDIDATE_INIT_CANDIDATE_LEN 255
#define MAX_RTCCONFIGURATION_CERTIFICATES 3

typedef enum {
    RTC_PEER_CONNECTION_STATE_NONE = 0,
    RTC_PEER_CONNECTION_STATE_NEW = 1,
    RTC_PEER_CONNECTION_STATE_CONNECTING = 2,
    RTC_PEER_CONNECTION_STATE_CONNECTED = 3,
    RTC_PEER_CONNECTION_STATE_DISCONNECTED = 4,
    RTC_PEER_CONNECTION_STATE_FAILED = 5,
    RTC_PEER_CONNECTION_STATE_CLOSED = 6,
    RTC_PEER_CONNECTION_TOTAL_STATE_COUNT = 7
} RTC_PEER_CONNECTION_STATE;

typedef enum {
    RTC_CODEC_H264_PROFILE_42E01F_LEVEL_ASYMMETRY_ALLOWED_PACKETIZATION_MODE = 1,
    RTC_CODEC_OPUS = 2,
    RTC_CODEC_VP8 = 3,
    RTC_CODEC_MULAW = 4,
    RTC_CODEC_ALAW = 5
} RTC_CODEC;

typedef enum { MEDIA_STREAM_TRACK_KIND_AUDIO = 1, MEDIA_STREAM_TRACK_KIND_VIDEO = 2 } MEDIA_STREAM_TRACK_KIND;

typedef enum { SDP_TYPE_OFFER = 1, SDP_TYPE_ANSWER = 2 } SDP_TYPE;

typedef enum { ICE_TRANSPORT_POLICY_RELAY = 1, ICE_TRANSPORT_POLICY_ALL = 2 } ICE_TRANSPORT_POLICY;

typedef enum {
    RTC_RTP_TRANSCEIVER_DIRECTION_SENDRECV = 1,
    RTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY = 2,
    RTC_RTP_TRANSCEIVER_DIRECTION_RECVONLY = 3,
    RTC_RTP_TRANSCEIVER_DIRECTION_INACTIVE = 4
} RTC_RTP_TRANSCEIVER_DIRECTION;

typedef enum {
    FRAME_FLAG_NONE = 0,
    FRAME_FLAG_KEY_FRAME = 1,
    FRAME_FLAG_DISCARDABLE_FRAME = 2,
    FRAME_FLAG_INVISIBLE_FRAME = 4,
    FRAME_FLAG_END_OF_FRAGMENT = 8
} FRAME_FLAGS;

typedef struct {
    UINT32 version;
} RtcPeerConnection, *PRtcPeerConnection;

typedef struct {
    RTC_CODEC codec;
    CHAR trackId[MAX_MEDIA_STREAM_TRACK_ID_LEN + 1];
    CHAR streamId[MAX_MEDIA_STREAM_ID_LEN + 1];
    MEDIA_STREAM_TRACK_KIND kind;
} RtcMediaStreamTrack, *PRtcMediaStreamTrack;

typedef struct {
    RtcMediaStreamTrack track;
} RtcRtpReceiver, *PRtcRtpReceiver;

typedef struct {
    RTC_RTP_TRANSCEIVER_DIRECTION direction;
    RtcRtpReceiver receiver;
} RtcRtpTransceiver, *PRtcRtpTransceiver;

typedef struct {
    RTC_RTP_TRANSCEIVER_DIRECTION direction;
} RtcRtpTransceiverInit, *PRtcRtpTransceiverInit;

typedef struct {
    CHAR urls[MAX_ICE_CONFIG_URI_LEN + 1];
    CHAR username[MAX_ICE_CONFIG_USER_NAME_LEN + 1];
    CHAR credential[MAX_ICE_CONFIG_CREDENTIAL_LEN + 1];
} RtcIceServer, *PRtcIceServer;

typedef struct {
    PBYTE pCertificate;
    UINT32 certificateSize;
    PBYTE pPrivateKey;
    UINT32 privateKeySize;
} RtcCertificate, *PRtcCertificate;

typedef BOOL (*IceSetInterfaceFilterFunc)(UINT64 customData, PCHAR interfaceName);

typedef struct {
    UINT16 maximumTransmissionUnit;
    UINT32 iceLocalCandidateGatheringTimeout;
    UINT32 iceConnectionCheckTimeout;
    UINT32 iceCandidateNominationTimeout;
    UINT32 iceConnectionCheckPollingInterval;
    INT32 generatedCertificateBits;
    BOOL generateRSACertificate;
    UINT32 sendBufSize;
    UINT64 filterCustomData;
    IceSetInterfaceFilterFunc iceSetInterfaceFilterFunc;
    BOOL disableSenderSideBandwidthEstimation;
} KvsRtcConfiguration, *PKvsRtcConfiguration;

typedef struct {
    ICE_TRANSPORT_POLICY iceTransportPolicy;
    RtcIceServer iceServers[MAX_ICE_SERVERS_COUNT];
    KvsRtcConfiguration kvsRtcConfiguration;
    RtcCertificate certificates[MAX_RTCCONFIGURATION_CERTIFICATES];
} RtcConfiguration, *PRtcConfiguration;

typedef struct {
    SDP_TYPE type;
    CHAR sdp[MAX_SESSION_DESCRIPTION_INIT_SDP_LEN + 1];
} RtcSessionDescriptionInit, *PRtcSessionDescriptionInit;

typedef struct {
    CHAR candidate[MAX_ICE_CANDIDATE_INIT_CANDIDATE_LEN + 1];
} RtcIceCandidateInit, *PRtcIceCandidateInit;

/** One frame of media; times in units of 100 ns. */
typedef struct {
    UINT32 version;
    UINT32 index;
    FRAME_FLAGS flags;
    UINT64 decodingTs;
    UINT64 presentationTs;
    UINT64 duration;
    UINT32 size;
    PBYTE frameData;
    UINT64 trackId;
} Frame, *PFrame;

/** Handlers; each runs on a thread of the SDK, none after closePeerConnection has returned. */

/** A local candidate as JSON text, or null when gathering has ended. */
typedef VOID (*RtcOnIceCandidate)(UINT64 customData, PCHAR candidateJson);
typedef VOID (*RtcOnConnectionStateChange)(UINT64 customData, RTC_PEER_CONNECTION_STATE newState);
typedef VOID (*RtcOnFrame)(UINT64 customData, PFrame pFrame);
/** The far end's limit in bits per second. */
typedef VOID (*RtcOnBandwidthEstimation)(UINT64 customData, DOUBLE maximumBitrate);
typedef VOID (*RtcOnSenderBandwidthEstimation)(UINT64 customData, UINT32 txBytes, UINT32 rxBytes, UINT32 txPacketsCnt,
                                               UINT32 rxPacketsCnt, UINT64 duration);

/** Once before the first and once after the last connection of a process. */
STATUS initKvsWebRtc(VOID);
STATUS deinitKvsWebRtc(VOID);

STATUS createPeerConnection(PRtcConfiguration pConfiguration, PRtcPeerConnection* ppPeerConnection);
STATUS closePeerConnection(PRtcPeerConnection pPeerConnection);
STATUS freePeerConnection(PRtcPeerConnection* ppPeerConnection);

STATUS peerConnectionOnIceCandidate(PRtcPeerConnection pPeerConnection, UINT64 customData, RtcOnIceCandidate handler);
STATUS peerConnectionOnConnectionStateChange(PRtcPeerConnection pPeerConnection, UINT64 customData,
                                             RtcOnConnectionStateChange handler);
STATUS peerConnectionOnSenderBandwidthEstimation(PRtcPeerConnection pPeerConnection, UINT64 customData,
                                                 RtcOnSenderBandwidthEstimation handler);

STATUS addSupportedCodec(PRtcPeerConnection pPeerConnection, RTC_CODEC codec);
STATUS addTransceiver(PRtcPeerConnection pPeerConnection, PRtcMediaStreamTrack pTrack, PRtcRtpTransceiverInit pInit,
                      PRtcRtpTransceiver* ppTransceiver);
STATUS transceiverOnFrame(PRtcRtpTransceiver pTransceiver, UINT64 customData, RtcOnFrame handler);
STATUS transceiverOnBandwidthEstimation(PRtcRtpTransceiver pTransceiver, UINT64 customData,
                                        RtcOnBandwidthEstimation handler);

STATUS deserializeSessionDescriptionInit(PCHAR json, UINT32 length, PRtcSessionDescriptionInit pDescription);
STATUS serializeSessionDescriptionInit(PRtcSessionDescriptionInit pDescription, PCHAR json, PUINT32 pLength);
STATUS setRemoteDescription(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription);
STATUS setLocalDescription(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription);
STATUS createAnswer(PRtcPeerConnection pPeerConnection, PRtcSessionDescriptionInit pDescription);
STATUS peerConnectionGetCurrentLocalDescription(PRtcPeerConnection pPeerConnection,
                                                PRtcSessionDescriptionInit pDescription);

STATUS deserializeRtcIceCandidateInit(PCHAR json, UINT32 length, PRtcIceCandidateInit pCandidate);
STATUS addIceCandidate(PRtcPeerConnection pPeerConnection, PCHAR candidate);

/** Neither argument may be null. */
STATUS writeFrame(PRtcRtpTransceiver pTransceiver, PFrame pFrame);

STATUS rtcPeerConnectionGetMetrics(PRtcPeerConnection pPeerConnection, PRtcRtpTransceiver pTransceiver,
                                   PRtcStats pStats);

#ifdef __cplusplus
}
#endif

#endif
