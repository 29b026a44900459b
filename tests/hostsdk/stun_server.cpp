#include "stun_server.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>

#include "own_address.h"

namespace zelrtc::test {

namespace {

constexpr size_t kHeaderSize = 20;
// Binding success response with one attribute of 12 bytes: MAPPED-ADDRESS, IPv4 (RFC 8489).
constexpr std::array<uint8_t, 4> kResponse{0x01, 0x01, 0x00, 0x0c};
constexpr std::array<uint8_t, 6> kAttribute{0x00, 0x01, 0x00, 0x08, 0x00, 0x01};

using Message = std::array<uint8_t, kHeaderSize + 12>;

// With the request's transaction id.
Message responseTo(const Message& request, const sockaddr_in& client) {
    Message response = request;
    std::copy(kResponse.begin(), kResponse.end(), response.begin());
    auto* place = std::copy(kAttribute.begin(), kAttribute.end(), response.begin() + kHeaderSize);
    place = std::copy_n(reinterpret_cast<const uint8_t*>(&client.sin_port), sizeof client.sin_port, place);
    const in_addr_t address = inet_addr(StunServer::kMappedAddress);
    std::copy_n(reinterpret_cast<const uint8_t*>(&address), sizeof address, place);
    return response;
}

}  // namespace

StunServer::StunServer() : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    place_.sin_family = AF_INET;
    place_.sin_addr.s_addr = inet_addr(ownAddress().c_str());
    socklen_t size = sizeof place_;
    auto* const place = reinterpret_cast<sockaddr*>(&place_);
    if (bind(socket_, place, size) != 0 || getsockname(socket_, place, &size) != 0) {
        ::close(socket_);
        throw std::runtime_error("no free port");
    }
    thread_ = std::thread([this] { serve(); });
}

StunServer::~StunServer() {
    sendto(socket_, nullptr, 0, 0, reinterpret_cast<const sockaddr*>(&place_), sizeof place_);
    thread_.join();
    ::close(socket_);
}

std::string StunServer::url() const {
    return "stun:" + ownAddress() + ":" + std::to_string(ntohs(place_.sin_port));
}

void StunServer::serve() const {
    Message request{};
    sockaddr_in client{};
    socklen_t size = sizeof client;
    auto* const address = reinterpret_cast<sockaddr*>(&client);
    // An empty message means the end.
    while (recvfrom(socket_, request.data(), request.size(), 0, address, &size) >= static_cast<ssize_t>(kHeaderSize)) {
        const Message response = responseTo(request, client);
        sendto(socket_, response.data(), response.size(), 0, address, size);
    }
}

}  // namespace zelrtc::test
