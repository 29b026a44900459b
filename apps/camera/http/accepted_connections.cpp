#include "http/accepted_connections.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <charconv>
#include <filesystem>
#include <string>
#include <system_error>

namespace zelrtc::camera {

namespace {

bool isConnectionOn(int descriptor, int port) {
    sockaddr_storage address{};
    socklen_t size = sizeof(address);
    int isListening = 0;
    socklen_t flagSize = sizeof(isListening);
    if (getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &isListening, &flagSize) != 0 || isListening != 0 ||
        getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        return false;
    }
    if (address.ss_family == AF_INET) {
        return ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port) == port;
    }
    return address.ss_family == AF_INET6 && ntohs(reinterpret_cast<const sockaddr_in6*>(&address)->sin6_port) == port;
}

}  // namespace

void stopReadingOn(int port) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
        const std::string name = entry.path().filename();
        int descriptor = -1;
        std::from_chars(name.data(), name.data() + name.size(), descriptor);
        if (isConnectionOn(descriptor, port)) {
            shutdown(descriptor, SHUT_RD);
        }
    }
}

}  // namespace zelrtc::camera
