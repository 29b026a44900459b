/** @file session_description_json.h Session descriptions as JSON text. */
#ifndef HOSTSDK_SRC_TEXT_SESSION_DESCRIPTION_JSON_H
#define HOSTSDK_SRC_TEXT_SESSION_DESCRIPTION_JSON_H

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include <string>
#include <string_view>

namespace zelrtc::hostsdk {

// Fills the record; untouched, with the SDK's status for what is wrong, when the text is no description.
STATUS readSessionDescription(std::string_view json, PRtcSessionDescriptionInit description);

// The SDK's written form. Any type but an offer is written as an answer.
std::string writeSessionDescription(const RtcSessionDescriptionInit& description);

}  // namespace zelrtc::hostsdk

#endif
