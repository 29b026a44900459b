/** @file own_address.h Which address of this host servers can use. */
#ifndef TESTS_SUPPORT_OWN_ADDRESS_H
#define TESTS_SUPPORT_OWN_ADDRESS_H

#include <string>

namespace zelrtc::test {

/**
 * An IPv4 address of this host other than loopback, if there is one: candidates are gathered on the other addresses,
 * and no UDP packet sent from those reaches loopback.
 */
std::string ownAddress();

}  // namespace zelrtc::test

#endif
