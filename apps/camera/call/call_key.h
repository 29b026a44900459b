/** @file call_key.h The secret part of a call's address. */
#ifndef APPS_CAMERA_CALL_CALL_KEY_H
#define APPS_CAMERA_CALL_CALL_KEY_H

#include <string>

namespace zelrtc::camera {

/**
 * 128 random bits as 32 hexadecimal digits: whoever knows a call's key may hear, steer and end it, so it must not be
 * guessed from others. Any thread. @throw std::runtime_error when the system has no random numbers
 */
std::string newCallKey();

}  // namespace zelrtc::camera

#endif
