#include "text/session_description_json.h"

#include <algorithm>

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

}  // namespace

STATUS readSessionDescription(std::string_view json, PRtcSessionDescriptionInit description) {
    nlohmann::json object = readJson(json);
    const bool hasRawLineEnds = object.is_discarded();
    if (hasRawLineEnds) {
        object = readJson(withoutRawLineEnds(json));
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
    const std::string_view escaped = escapedMember(json, "sdp");
    if (escaped.size() > MAX_SESSION_DESCRIPTION_INIT_SDP_LEN) {
        return kStatusDescriptionSdpTooLong;
    }
    description->type = type;
    setField(description->sdp, withLineEnds(escaped));
    return STATUS_SUCCESS;
}

std::string writeSessionDescription(const RtcSessionDescriptionInit& description) {
    const char* const type = description.type == SDP_TYPE_OFFER ? "offer" : "answer";
    return std::string(R"({"type": ")") + type + R"(", "sdp": ")" + escapeJson(getField(description.sdp)) + R"("})";
}

}  // namespace zelrtc::hostsdk
