#include "silent_server.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

#include "own_address.h"

namespace zelrtc::test {

SilentServer::SilentServer() : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_addr.s_addr = inet_addr(ownAddress().c_str());
    socklen_t size = sizeof place;
    auto* generic = reinterpret_cast<sockaddr*>(&place);
    if (bind(socket_, generic, size) != 0 || getsockname(socket_, generic, &size) != 0) {
        close(socket_);
        throw std::runtime_error("no free port");
    }
    port_ = ntohs(place.sin_port);
}

SilentServer::~SilentServer() {
    close(socket_);
}

std::string SilentServer::description() const {
    return "turn:" + ownAddress() + ":" + std::to_string(port_) + "?transport=udp,viewer,nobody asks";
}

int SilentServer::requests() const {
    std::array<char, 1> start{};
    int count = 0;
    while (recv(socket_, start.data(), start.size(), MSG_DONTWAIT) >= 0) {
        count++;
    }
    return count;
}

}  // namespace zelrtc::test
