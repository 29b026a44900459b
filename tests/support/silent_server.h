/** @file silent_server.h A server that never answers. */
#ifndef TESTS_SUPPORT_SILENT_SERVER_H
#define TESTS_SUPPORT_SILENT_SERVER_H

#include <string>

namespace zelrtc::test {

/** Receives UDP on this host's own address and answers nothing. */
class SilentServer {
public:
    SilentServer();
    ~SilentServer();
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;

    /** As a TURN server over UDP: "turn:ADDRESS:PORT?transport=udp,USER,CREDENTIAL". */
    std::string description() const;
    /** Datagrams received since the last call. */
    int requests() const;

private:
    int socket_;
    int port_ = 0;
};

}  // namespace zelrtc::test

#endif
