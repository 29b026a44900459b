/** @file sdk_limits.h How long the texts may be that the SDK copies into its records. */
#ifndef APPS_CAMERA_CALL_SDK_LIMITS_H
#define APPS_CAMERA_CALL_SDK_LIMITS_H

#include <cstddef>

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

namespace zelrtc::camera {

/** An SDP, counted as the JSON text that carries it: a line end takes four characters there. */
constexpr size_t kLongestSdp = MAX_SESSION_DESCRIPTION_INIT_SDP_LEN;

/** A candidate line. */
constexpr size_t kLongestCandidate = MAX_ICE_CANDIDATE_INIT_CANDIDATE_LEN;

/** The texts of an ICE server. */
constexpr size_t kLongestServerUrl = MAX_ICE_CONFIG_URI_LEN;
constexpr size_t kLongestServerUser = MAX_ICE_CONFIG_USER_NAME_LEN;
constexpr size_t kLongestServerCredential = MAX_ICE_CONFIG_CREDENTIAL_LEN;

}  // namespace zelrtc::camera

#endif
