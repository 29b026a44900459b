/** @file last_datagram.h When the far end was last heard of. */
#ifndef HOSTSDK_SRC_ENGINE_LAST_DATAGRAM_H
#define HOSTSDK_SRC_ENGINE_LAST_DATAGRAM_H

#include <glib-object.h>

#include <chrono>
#include <optional>

namespace zelrtc::hostsdk {

// When the last datagram of any kind came in on the socket of the selected pair, as the kernel stamped it. The ICE
// agent keeps the far end's checks to itself, and of a viewer that only watches there may be nothing else. Nothing
// without a selected pair, and through a relay, whose socket the server shares. Any thread.
std::optional<std::chrono::steady_clock::time_point> lastDatagram(GObject* agent, guint stream);

}  // namespace zelrtc::hostsdk

#endif
