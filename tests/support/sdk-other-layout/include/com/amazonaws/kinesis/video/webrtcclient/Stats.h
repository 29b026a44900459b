/** Statistics records in another layout than the development host's: shorter texts, other members, another order. */
#ifndef OTHER_LAYOUT_STATS_H
#define OTHER_LAYOUT_STATS_H

#include <com/amazonaws/kinesis/video/common/PlatformUtils.h>

#define MAX_STATS_STRING_LENGTH 127
#define IP_ADDR_STR_LENGTH 45

typedef CHAR DOMString[MAX_STATS_STRING_LENGTH + 1];

typedef INT32 RTC_STATS_TYPE;
enum { RTC_STATS_TYPE_ICE_SERVER = 3, RTC_STATS_TYPE_LOCAL_CANDIDATE = 7, RTC_STATS_TYPE_REMOTE_CANDIDATE = 11 };

typedef struct {
    UINT64 firstMemberOfAnotherKind;
    CHAR address[IP_ADDR_STR_LENGTH + 1];
    INT32 port;
    INT32 priority;
    DOMString candidateType;
    DOMString protocol;
    DOMString transportId;
    DOMString url;
    DOMString relayProtocol;
} RtcIceCandidateStats, *PRtcIceCandidateStats;

typedef struct {
    UINT64 totalRoundTripTime;
    UINT64 totalRequestsSent;
    UINT64 totalResponsesReceived;
    UINT32 iceServerIndex;
    DOMString protocol;
    INT32 port;
    DOMString url;
} RtcIceServerStats, *PRtcIceServerStats;

typedef struct {
    BYTE statisticsOfOtherKinds[4096];
    RtcIceServerStats iceServerStats;
    RtcIceCandidateStats remoteIceCandidateStats;
    RtcIceCandidateStats localIceCandidateStats;
} RtcStatsObject, *PRtcStatsObject;

typedef struct {
    RTC_STATS_TYPE requestedTypeOfStats;
    UINT64 timestamp;
    RtcStatsObject rtcStatsObject;
} RtcStats, *PRtcStats;

#endif
