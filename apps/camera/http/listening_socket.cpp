#include "http/listening_socket.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>

namespace zelrtc::camera {

namespace {

// A full queue costs whoever comes then a second or more.
constexpr int kBacklog = 1024;
constexpr unsigned kVanishedClientMs = 10000;
// What the kernel holds for a client that does not read; an event stream beyond that is closed.
constexpr int kSendBufferBytes = 64 * 1024;

template <typename Value>
void setOption(int socket, int level, int option, Value value) {
    setsockopt(socket, level, option, &value, sizeof value);
}

// Accepted sockets inherit them. Without SO_REUSEPORT, so that a second camera on the same port is told.
void setOptions(int socket) {
    setOption(socket, SOL_SOCKET, SO_REUSEADDR, 1);
    setOption(socket, SOL_SOCKET, SO_SNDBUF, kSendBufferBytes);
    setOption(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, kVanishedClientMs);
}

int listenOn(const addrinfo& address) {
    const int socket = ::socket(address.ai_family, address.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket < 0) {
        return -1;
    }
    setOptions(socket);
    if (bind(socket, address.ai_addr, address.ai_addrlen) != 0 || listen(socket, kBacklog) != 0) {
        close(socket);
        return -1;
    }
    return socket;
}

}  // namespace

int openListeningSocket(const std::string& host, int port) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> addresses(error == 0 ? found : nullptr, freeaddrinfo);
    int socket = -1;
    for (const addrinfo* address = addresses.get(); address != nullptr && socket < 0; address = address->ai_next) {
        socket = listenOn(*address);
    }
    if (socket < 0) {
        throw std::runtime_error("the address " + host + " cannot be listened on: it is in use or not of this machine");
    }
    return socket;
}

int portOf(int socket) {
    sockaddr_storage address{};
    socklen_t size = sizeof(address);
    getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    return address.ss_family == AF_INET6 ? ntohs(reinterpret_cast<const sockaddr_in6*>(&address)->sin6_port)
                                         : ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
}

}  // namespace zelrtc::camera
