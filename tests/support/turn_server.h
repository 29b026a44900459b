/** @file turn_server.h A TURN server on this host. */
#ifndef TESTS_SUPPORT_TURN_SERVER_H
#define TESTS_SUPPORT_TURN_SERVER_H

#include <string>

#include "child_process.h"
#include "scratch_folder.h"

namespace zelrtc::test {

/** coturn on a free port of this host's own address, over UDP and TCP, with one user. */
class TurnServer {
public:
    TurnServer();

    /** "turn:ADDRESS:PORT?transport=udp,USER,CREDENTIAL"; `transport` is "udp" or "tcp". */
    std::string description(const std::string& transport) const;
    /** The same with a wrong credential. */
    std::string wrongDescription(const std::string& transport) const;
    std::string url(const std::string& transport) const;

private:
    ScratchFolder folder_;
    int port_;
    ChildProcess process_;
};

}  // namespace zelrtc::test

#endif
