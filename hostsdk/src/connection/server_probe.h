/** @file server_probe.h Which ICE servers answer. */
#ifndef HOSTSDK_SRC_CONNECTION_SERVER_PROBE_H
#define HOSTSDK_SRC_CONNECTION_SERVER_PROBE_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

#include "text/ice_server_url.h"

namespace zelrtc::hostsdk {

// What was exchanged with one server.
struct ServerExchange {
    uint64_t requests = 0;
    uint64_t responses = 0;
    std::chrono::nanoseconds roundTrip{0};
};

// The ICE agent tells neither whether a server answered nor what it cost, so the stand-in asks for itself: a binding
// request (RFC 8489) to every server over UDP, repeated until it is answered; over TCP and TLS, that the server takes
// the connection is the answer. On a thread of its own, which never holds up the one that destroys the probe.
class ServerProbe {
public:
    explicit ServerProbe(const std::vector<IceServerUrl>& servers);
    ServerProbe(const ServerProbe&) = delete;
    ServerProbe& operator=(const ServerProbe&) = delete;
    ServerProbe(ServerProbe&&) = delete;
    ServerProbe& operator=(ServerProbe&&) = delete;
    ~ServerProbe();

    // Both may be asked on any thread.
    bool haveAllAnswered() const;
    // Of the server with that place in the constructor's list.
    ServerExchange exchange(size_t index) const;

private:
    struct Shared;

    std::shared_ptr<Shared> shared_;
};

}  // namespace zelrtc::hostsdk

#endif
