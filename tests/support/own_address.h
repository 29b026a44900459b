/** @file own_address.h Where on this host servers can stand. */
#ifndef TESTS_SUPPORT_OWN_ADDRESS_H
#define TESTS_SUPPORT_OWN_ADDRESS_H

#include <string>

namespace zelrtc::test {

/**
 * An IPv4 address of this host other than loopback, if there is one: candidates are gathered on the other addresses,
 * and from those no UDP packet reaches the loopback address.
 */
std::string ownAddress();

}  // namespace zelrtc::test

#endif
