// The C functions between records and JSON. They need no GStreamer.
#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <cstring>

#include "api/guard.h"
#include "text/candidate_json.h"
#include "text/session_description_json.h"

using zelrtc::hostsdk::given;
using zelrtc::hostsdk::guarded;

namespace {

STATUS copyOut(const std::string& json, PCHAR buffer, PUINT32 length) {
    const size_t size = json.size() + 1;
    if (size > *length) {
        return STATUS_BUFFER_TOO_SMALL;
    }
    std::memcpy(buffer, json.c_str(), size);
    *length = static_cast<UINT32>(size);
    return STATUS_SUCCESS;
}

}  // namespace

STATUS deserializeSessionDescriptionInit(PCHAR json, UINT32 length, PRtcSessionDescriptionInit description) {
    return guarded(given(json, description), [=] {
        return zelrtc::hostsdk::readSessionDescription({json, length}, description);
    });
}

STATUS serializeSessionDescriptionInit(PRtcSessionDescriptionInit description, PCHAR json, PUINT32 length) {
    return guarded(given(description, json, length),
                   [=] { return copyOut(zelrtc::hostsdk::writeSessionDescription(*description), json, length); });
}

STATUS deserializeRtcIceCandidateInit(PCHAR json, UINT32 length, PRtcIceCandidateInit candidate) {
    return guarded(given(json, candidate), [=] {
        return zelrtc::hostsdk::readCandidateJson({json, length}, candidate);
    });
}
