/** @file sdk_status.h What the SDK's statuses mean for the viewer whose request they answer. */
#ifndef APPS_CAMERA_SIGNALLING_SDK_STATUS_H
#define APPS_CAMERA_SIGNALLING_SDK_STATUS_H

#include <string>

#include "http/http_error.h"

namespace zelrtc::camera {

/** The error to report for a status of a session's operation. @param what what did not work, as a sentence */
HttpError errorOfStatus(const std::string& what, int status);

/** The same for a refused offer, of which more can be the viewer's mistake. */
HttpError errorOfOffer(const std::string& what, int status);

}  // namespace zelrtc::camera

#endif
