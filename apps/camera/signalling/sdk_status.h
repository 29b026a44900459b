/** @file sdk_status.h The SDK's statuses and states in words: the table of reasons that viewers are given. */
#ifndef APPS_CAMERA_SIGNALLING_SDK_STATUS_H
#define APPS_CAMERA_SIGNALLING_SDK_STATUS_H

#include <string>

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include "http/http_error.h"

namespace zelrtc::camera {

/** The problem to report for a status of a session's operation. @param what what did not work, as a sentence */
Problem problemOf(const std::string& what, int status);

/** "connected" and so on. */
std::string stateName(RTC_PEER_CONNECTION_STATE state);

}  // namespace zelrtc::camera

#endif
