/** @file random_key.h Secrets that open something. */
#ifndef APPS_CAMERA_PROCESS_RANDOM_KEY_H
#define APPS_CAMERA_PROCESS_RANDOM_KEY_H

#include <string>

namespace zelrtc::camera {

/**
 * 128 random bits as 32 hexadecimal digits, which nobody can guess from others. Any thread.
 * @throw std::runtime_error when the system has no random numbers
 */
std::string randomKey();

}  // namespace zelrtc::camera

#endif
