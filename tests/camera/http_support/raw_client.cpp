#include "http_support/raw_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

namespace zelrtc::camera::test {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kReplyLimit(10);

sockaddr_in addressOf(const std::string& host, int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    inet_pton(AF_INET, host.c_str(), &address.sin_addr);
    return address;
}

int connectFrom(const std::string& from, int port, int receiveBuffer) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (receiveBuffer > 0) {
        setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    }
    const sockaddr_in own = addressOf(from, 0);
    const sockaddr_in server = addressOf("127.0.0.1", port);
    if (bind(socket, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0 ||
        connect(socket, reinterpret_cast<const sockaddr*>(&server), sizeof server) != 0) {
        close(socket);
        return -1;
    }
    return socket;
}

size_t lengthIn(const std::string& header) {
    const std::string name = "Content-Length: ";
    const size_t at = header.find(name);
    return at == std::string::npos ? 0 : std::stoul(header.substr(at + name.size()));
}

}  // namespace

RawClient::RawClient(int port, const std::string& from, int receiveBuffer)
    : socket_(connectFrom(from, port, receiveBuffer)) {
}

RawClient::RawClient(RawClient&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)), received_(std::move(other.received_)) {
}

RawClient::~RawClient() {
    if (socket_ >= 0) {
        close(socket_);
    }
}

bool RawClient::isConnected() const {
    return socket_ >= 0;
}

int RawClient::descriptor() const {
    return socket_;
}

bool RawClient::send(const std::string& bytes) {
    for (size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += static_cast<size_t>(count);
    }
    return true;
}

void RawClient::closeSending() {
    shutdown(socket_, SHUT_WR);
}

std::string RawClient::receiveUntil(const std::string& text) {
    const auto deadline = Clock::now() + kReplyLimit;
    size_t found = received_.find(text);
    while (found == std::string::npos && receiveSome(deadline)) {
        found = received_.find(text);
    }
    const size_t end = found == std::string::npos ? received_.size() : found + text.size();
    const std::string taken = received_.substr(0, end);
    received_.erase(0, end);
    return taken;
}

std::string RawClient::receiveResponse() {
    std::string response = receiveUntil("\r\n\r\n");
    const size_t length = lengthIn(response);
    const auto deadline = Clock::now() + kReplyLimit;
    while (received_.size() < length && receiveSome(deadline)) {
    }
    const size_t end = std::min(length, received_.size());
    response += received_.substr(0, end);
    received_.erase(0, end);
    return response;
}

bool RawClient::isClosedByServer(std::chrono::milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    while (receiveSome(deadline)) {
    }
    return !isOpen();
}

bool RawClient::isOpen() {
    char byte = 0;
    const ssize_t count = recv(socket_, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK));
}

bool RawClient::receiveSome(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd event{socket_, POLLIN, 0};
    if (left.count() <= 0 || poll(&event, 1, static_cast<int>(left.count())) <= 0) {
        return false;
    }
    std::array<char, 4096> buffer{};
    const ssize_t count = recv(socket_, buffer.data(), buffer.size(), 0);
    if (count <= 0) {
        return false;
    }
    received_.append(buffer.data(), static_cast<size_t>(count));
    return true;
}

}  // namespace zelrtc::camera::test
