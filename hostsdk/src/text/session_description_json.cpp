#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <cstring>
#include <new>

#include "text/json_text.h"
#include "text/record_text.h"
#include "text/status.h"

namespace zelrtc::hostsdk {

namespace {

STATUS readType(const nlohmann::json& object, SDP_TYPE* result) {
    if (!object.contains("type")) {
        return kStatusDescriptionTypeMissing;
    }
    const std::string type = stringMember(object, "type").value_or("");
    if (type != "offer" && type != "answer") {
        return kStatusDescriptionTypeUnknown;
    }
    *result = type == "offer" ? SDP_TYPE_OFFER : SDP_TYPE_ANSWER;
    return STATUS_SUCCESS;
}

STATUS readDescription(std::string_view text, PRtcSessionDescriptionInit description) {
    nlohmann::json object = readJson(text);
    const bool hasRawLineEnds = object.is_discarded();
    if (hasRawLineEnds) {
        object = readJson(withoutRawLineEnds(text));
    }
    if (!object.is_object() || object.empty()) {
        return kStatusJsonUnreadable;
    }

    SDP_TYPE type = SDP_TYPE_OFFER;
    const STATUS status = readType(object, &type);
    if (status != STATUS_SUCCESS) {
        return status;
    }
    if (stringMember(object, "sdp").value_or("").empty() || hasRawLineEnds) {
        return kStatusDescriptionSdpMissing;
    }
    const std::string_view escaped = escapedMember(text, "sdp");
    if (escaped.size() > MAX_SESSION_DESCRIPTION_INIT_SDP_LEN) {
        return kStatusDescriptionSdpTooLong;
    }
    description->type = type;
    setField(description->sdp, withLineEnds(escaped));
    return STATUS_SUCCESS;
}

std::string writeDescription(const RtcSessionDescriptionInit& description) {
    const char* const type = description.type == SDP_TYPE_OFFER ? "offer" : "answer";
    return std::string(R"({"type": ")") + type + R"(", "sdp": ")" + escapeJson(getField(description.sdp)) + R"("})";
}

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

}  // namespace zelrtc::hostsdk

STATUS deserializeSessionDescriptionInit(PCHAR json, UINT32 length, PRtcSessionDescriptionInit description) {
    if (json == nullptr || description == nullptr) {
        return STATUS_NULL_ARG;
    }
    try {
        return zelrtc::hostsdk::readDescription(std::string_view(json, length), description);
    } catch (const std::bad_alloc&) {
        return STATUS_NOT_ENOUGH_MEMORY;
    }
}

STATUS serializeSessionDescriptionInit(PRtcSessionDescriptionInit description, PCHAR json, PUINT32 length) {
    if (description == nullptr || json == nullptr || length == nullptr) {
        return STATUS_NULL_ARG;
    }
    try {
        return zelrtc::hostsdk::copyOut(zelrtc::hostsdk::writeDescription(*description), json, length);
    } catch (const std::bad_alloc&) {
        return STATUS_NOT_ENOUGH_MEMORY;
    }
}
