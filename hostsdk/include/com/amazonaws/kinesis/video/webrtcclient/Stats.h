/** The statistics records of the WebRTC SDK, as far as the session layer reads them. */
#ifndef HOSTSDK_WEBRTC_CLIENT_STATS_H
#define HOSTSDK_WEBRTC_CLIENT_STATS_H

#include <com/amazonaws/kinesis/video/common/PlatformUtils.h>

#define MAX_STATS_STRING_LENGTH 255
#define IP_ADDR_STR_LENGTH 45

typedef CHAR DOMString[MAX_STATS_STRING_LENGTH + 1];

typedef enum {
    RTC_STATS_TYPE_CANDIDATE_PAIR = 0,
    RTC_STATS_TYPE_CERTIFICATE,
    RTC_STATS_TYPE_CODEC,
    RTC_STATS_TYPE_ICE_SERVER,
    RTC_STATS_TYPE_CSRC,
    RTC_STATS_TYPE_DATA_CHANNEL,
    RTC_STATS_TYPE_INBOUND_RTP,
    RTC_STATS_TYPE_LOCAL_CANDIDATE,
    RTC_STATS_TYPE_OUTBOUND_RTP,
    RTC_STATS_TYPE_PEER_CONNECTION,
    RTC_STATS_TYPE_RECEIVER,
    RTC_STATS_TYPE_REMOTE_CANDIDATE,
    RTC_STATS_TYPE_REMOTE_INBOUND_RTP,
    RTC_STATS_TYPE_REMOTE_OUTBOUND_RTP,
    RTC_STATS_TYPE_SENDER,
    RTC_STATS_TYPE_TRACK,
    RTC_STATS_TYPE_TRANSPORT,
    RTC_STATS_TYPE_SCTP_TRANSPORT,
    RTC_STATS_TYPE_TRANSCEIVER,
    RTC_STATS_TYPE_RTC_ALL
} RTC_STATS_TYPE;

typedef struct {
    DOMString url;
    DOMString transportId;
    CHAR address[IP_ADDR_STR_LENGTH + 1];
    DOMString protocol;
    DOMString relayProtocol;
    INT32 priority;
    INT32 port;
    DOMString candidateType;
} RtcIceCandidateStats, *PRtcIceCandidateStats;

/** Round-trip time in units of 100 ns, summed over the responses. */
typedef struct {
    DOMString url;
    DOMString protocol;
    UINT32 iceServerIndex;
    INT32 port;
    UINT64 totalRequestsSent;
    UINT64 totalResponsesReceived;
    UINT64 totalRoundTripTime;
} RtcIceServerStats, *PRtcIceServerStats;

/** The room that the SDK's other statistics take, so that stack figures measured on a host hold on a device. */
#define HOSTSDK_OTHER_STATISTICS_SIZE 7512

typedef struct {
    RtcIceCandidateStats localIceCandidateStats;
    RtcIceCandidateStats remoteIceCandidateStats;
    RtcIceServerStats iceServerStats;
    BYTE otherStatistics[HOSTSDK_OTHER_STATISTICS_SIZE];
} RtcStatsObject, *PRtcStatsObject;

typedef struct {
    UINT64 timestamp;
    RTC_STATS_TYPE requestedTypeOfStats;
    RtcStatsObject rtcStatsObject;
} RtcStats, *PRtcStats;

#endif
