/**
 * The SDK's interface in another layout than the development host's: shorter server URLs, a member before the text of a
 * session description, members in another order. A session that compiles and passes with both relies on names alone.
 */
#ifndef OTHER_LAYOUT_INCLUDE_H
#define OTHER_LAYOUT_INCLUDE_H

#include <com/amazonaws/kinesis/video/common/PlatformUtils.h>
#include <com/amazonaws/kinesis/video/webrtcclient/Stats.h>

#ifdef __cplusplus
extern "C" {
#endif

#define MAX_ICE_SERVERS_COUNT 21
#define MAX_ICE_CONFIG_URI_LEN 127
#define MAX_ICE_CONFIG_USER_NAME_LEN 256
#define MAX_ICE_CONFIG_CREDENTIAL_LEN 256
#define MAX_SESSION_DESCRIPTION_INIT_SDP_LEN 25000
#define MAX_ICE_CANDIDATE_INIT_CANDIDATE_LEN 255

typedef enum {
    RTC_PEER_CONNECTION_STATE_NONE,
    RTC_PEER_CONNECTION_STATE_NEW,
    RTC_PEER_CONNECTION_STATE_CONNECTING,
    RTC_PEER_CONNECTION_STATE_CONNECTED,
    RTC_PEER_CONNECTION_STATE_DISCONNECTED,
    RTC_PEER_CONNECTION_STATE_FAILED,
    RTC_PEER_CONNECTION_STATE_CLOSED,
    RTC_PEER_CONNECTION_TOTAL_STATE_COUNT
} RTC_PEER_CONNECTION_STATE;

typedef enum {
    RTC_CODEC_UNKNOWN = -1,
    RTC_CODEC_H264_PROFILE_42E01F_LEVEL_ASYMMETRY_ALLOWED_PACKETIZATION_MODE = 1,
    RTC_CODEC_MULAW = 4
} RTC_CODEC;

typedef enum { MEDIA_STREAM_TRACK_KIND_AUDIO = 1, MEDIA_STREAM_TRACK_KIND_VIDEO } MEDIA_STREAM_TRACK_KIND;
typedef enum { SDP_TYPE_OFFER = 1, SDP_TYPE_ANSWER } SDP_TYPE;
typedef enum { ICE_TRANSPORT_POLICY_RELAY = 1, ICE_TRANSPORT_POLICY_ALL } ICE_TRANSPORT_POLICY;
typedef enum { FRAME_FLAG_NONE, FRAME_FLAG_KEY_FRAME, FRAME_FLAG_DISCARDABLE_FRAME } FRAME_FLAGS;

typedef struct {
    UINT64 version;
} RtcPeerConnection, *PRtcPeerConnection;

typedef struct {
    UINT32 direction;
} RtcRtpTransceiverInit, *PRtcRtpTransceiverInit;

typedef struct {
    UINT64 receiver;
    UINT32 direction;
} RtcRtpTransceiver, *PRtcRtpTransceiver;

typedef struct {
    CHAR streamId[64];
    MEDIA_STREAM_TRACK_KIND kind;
    CHAR trackId[32];
    RTC_CODEC codec;
} RtcMediaStreamTrack, *PRtcMediaStreamTrack;

typedef struct {
    CHAR urls[MAX_ICE_CONFIG_URI_LEN + 1];
    CHAR username[MAX_ICE_CONFIG_USER_NAME_LEN + 1];
    CHAR credential[MAX_ICE_CONFIG_CREDENTIAL_LEN + 1];
} RtcIceServer, *PRtcIceServer;

typedef struct {
    BOOL generateRSACertificate;
    UINT64 memberOfAnotherKind;
    INT32 generatedCertificateBits;
} KvsRtcConfiguration, *PKvsRtcConfiguration;

typedef struct {
    KvsRtcConfiguration kvsRtcConfiguration;
    RtcIceServer iceServers[MAX_ICE_SERVERS_COUNT];
    ICE_TRANSPORT_POLICY iceTransportPolicy;
} RtcConfiguration, *PRtcConfiguration;

typedef struct {
    SDP_TYPE type;
    BOOL useTrickleIce;
    CHAR sdp[MAX_SESSION_DESCRIPTION_INIT_SDP_LEN + 1];
} RtcSessionDescriptionInit, *PRtcSessionDescriptionInit;

typedef struct {
    CHAR candidate[MAX_ICE_CANDIDATE_INIT_CANDIDATE_LEN + 1];
} RtcIceCandidateInit, *PRtcIceCandidateInit;

typedef struct {
    UINT64 trackId;
    PBYTE frameData;
    UINT32 size;
    UINT64 duration;
    UINT64 presentationTs;
    UINT64 decodingTs;
    FRAME_FLAGS flags;
    UINT32 index;
    UINT32 version;
} Frame, *PFrame;

typedef VOID (*RtcOnFrame)(UINT64, PFrame);
typedef VOID (*RtcOnIceCandidate)(UINT64, PCHAR);
typedef VOID (*RtcOnConnectionStateChange)(UINT64, RTC_PEER_CONNECTION_STATE);
typedef VOID (*RtcOnBandwidthEstimation)(UINT64, DOUBLE);
typedef VOID (*RtcOnSenderBandwidthEstimation)(UINT64, UINT32, UINT32, UINT32, UINT32, UINT64);

STATUS initKvsWebRtc(VOID);
STATUS deinitKvsWebRtc(VOID);

STATUS createPeerConnection(PRtcConfiguration, PRtcPeerConnection*);
STATUS freePeerConnection(PRtcPeerConnection*);
STATUS closePeerConnection(PRtcPeerConnection);
STATUS addSupportedCodec(PRtcPeerConnection, RTC_CODEC);
STATUS addTransceiver(PRtcPeerConnection, PRtcMediaStreamTrack, PRtcRtpTransceiverInit, PRtcRtpTransceiver*);
STATUS addIceCandidate(PRtcPeerConnection, PCHAR);
STATUS writeFrame(PRtcRtpTransceiver, PFrame);

STATUS transceiverOnFrame(PRtcRtpTransceiver, UINT64, RtcOnFrame);
STATUS transceiverOnBandwidthEstimation(PRtcRtpTransceiver, UINT64, RtcOnBandwidthEstimation);
STATUS peerConnectionOnIceCandidate(PRtcPeerConnection, UINT64, RtcOnIceCandidate);
STATUS peerConnectionOnConnectionStateChange(PRtcPeerConnection, UINT64, RtcOnConnectionStateChange);
STATUS peerConnectionOnSenderBandwidthEstimation(PRtcPeerConnection, UINT64, RtcOnSenderBandwidthEstimation);

STATUS createAnswer(PRtcPeerConnection, PRtcSessionDescriptionInit);
STATUS setLocalDescription(PRtcPeerConnection, PRtcSessionDescriptionInit);
STATUS setRemoteDescription(PRtcPeerConnection, PRtcSessionDescriptionInit);
STATUS peerConnectionGetCurrentLocalDescription(PRtcPeerConnection, PRtcSessionDescriptionInit);
STATUS deserializeRtcIceCandidateInit(PCHAR, UINT32, PRtcIceCandidateInit);
STATUS deserializeSessionDescriptionInit(PCHAR, UINT32, PRtcSessionDescriptionInit);
STATUS serializeSessionDescriptionInit(PRtcSessionDescriptionInit, PCHAR, PUINT32);

STATUS rtcPeerConnectionGetMetrics(PRtcPeerConnection, PRtcRtpTransceiver, PRtcStats);

#ifdef __cplusplus
}
#endif

#endif
