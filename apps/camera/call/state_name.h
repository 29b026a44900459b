/** @file state_name.h The SDK's connection states, in words. */
#ifndef APPS_CAMERA_CALL_STATE_NAME_H
#define APPS_CAMERA_CALL_STATE_NAME_H

#include <string>

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

namespace zelrtc::camera {

/** "connected" and so on; "unknown" for a number that the SDK's enumeration does not name. */
std::string stateName(RTC_PEER_CONNECTION_STATE state);

}  // namespace zelrtc::camera

#endif
