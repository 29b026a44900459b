/** @file self_signed.h A certificate that nobody vouches for, for use at home. */
#ifndef APPS_CAMERA_HTTP_SELF_SIGNED_H
#define APPS_CAMERA_HTTP_SELF_SIGNED_H

#include <string>

#include "http/http_settings.h"

namespace zelrtc::camera {

/**
 * Makes a key and a certificate that it has signed itself. Browsers warn of it until they are told to trust it.
 * @param name of the server, as it stands in its address: a host name or a numeric address
 * @throw std::runtime_error when it cannot be made
 */
HttpCertificate makeSelfSigned(const std::string& name);

/**
 * The SHA-256 fingerprint of a chain's first certificate as browsers show it, such as "0F:2C:...", for people to
 * compare.
 * @param chain PEM
 * @throw std::runtime_error when it is none
 */
std::string fingerprintOf(const std::string& chain);

}  // namespace zelrtc::camera

#endif
