/** @file own_address.h Where on this host servers can stand. */
#ifndef TESTS_SUPPORT_OWN_ADDRESS_H
#define TESTS_SUPPORT_OWN_ADDRESS_H

#include <string>

namespace zelrtc::test {

/**
 * An IPv4 address of this host that is not the loopback one, if it has one: from its other addresses, where it gathers
 * its candidates, nothing can be sent to the loopback address over UDP.
 */
std::string ownAddress();

}  // namespace zelrtc::test

#endif
