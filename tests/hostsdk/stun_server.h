/** @file stun_server.h A STUN server that reports the same distant address to every client. */
#ifndef TESTS_HOSTSDK_STUN_SERVER_H
#define TESTS_HOSTSDK_STUN_SERVER_H

#include <netinet/in.h>

#include <string>
#include <thread>

namespace zelrtc::test {

class StunServer {
public:
    // From a documentation network (RFC 5737), so no machine has it.
    static constexpr const char* kMappedAddress = "203.0.113.7";

    StunServer();
    StunServer(const StunServer&) = delete;
    StunServer& operator=(const StunServer&) = delete;
    StunServer(StunServer&&) = delete;
    StunServer& operator=(StunServer&&) = delete;
    ~StunServer();

    std::string url() const;

private:
    void serve() const;

    int socket_;
    sockaddr_in place_{};
    std::thread thread_;
};

}  // namespace zelrtc::test

#endif
