#include "rtp_receiver.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace zelrtc::test {
namespace {

constexpr int kTries = 50;
constexpr size_t kHeaderBytes = 12;
constexpr uint8_t kUnitType = 31;
constexpr uint8_t kParameterSet = 7;
constexpr uint8_t kSeveralUnits = 24;

sockaddr_in loopback(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int bound(uint16_t port) {
    const int socketOfPort = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    if (bind(socketOfPort, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        close(socketOfPort);
        return -1;
    }
    return socketOfPort;
}

uint16_t portOf(int socketOfPort) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(socketOfPort, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

uint32_t numberAt(const std::vector<uint8_t>& packet, size_t at, size_t bytes) {
    uint32_t number = 0;
    for (size_t i = 0; i < bytes; ++i) {
        number = number << 8U | packet.at(at + i);
    }
    return number;
}

// The camera's key frames come as parameter sets and picture, the sets together in one packet.
bool holdsParameterSet(const std::vector<uint8_t>& packet) {
    if ((packet.at(kHeaderBytes) & kUnitType) != kSeveralUnits) {
        return (packet.at(kHeaderBytes) & kUnitType) == kParameterSet;
    }
    for (size_t at = kHeaderBytes + 1; at + 2 < packet.size(); at += 2 + numberAt(packet, at, 2)) {
        if ((packet.at(at + 2) & kUnitType) == kParameterSet) {
            return true;
        }
    }
    return false;
}

}  // namespace

RtpReceiver::RtpReceiver() {
    for (int i = 0; i < kTries; ++i) {
        packetSocket_ = bound(0);
        port_ = portOf(packetSocket_);
        reportSocket_ = bound(static_cast<uint16_t>(port_ + 1));
        if (reportSocket_ >= 0) {
            return;
        }
        close(packetSocket_);
    }
    throw std::runtime_error("no two ports in a row are free");
}

RtpReceiver::~RtpReceiver() {
    close(packetSocket_);
    close(reportSocket_);
}

std::string RtpReceiver::address() const {
    return "127.0.0.1:" + std::to_string(port_);
}

bool RtpReceiver::receiveUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + limit;
    while (!done()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        std::array<pollfd, 2> wanted{{{packetSocket_, POLLIN, 0}, {reportSocket_, POLLIN, 0}}};
        poll(wanted.data(), wanted.size(), static_cast<int>(left.count()));
        takeReports();
        takePackets();
    }
    return true;
}

void RtpReceiver::takePackets() {
    std::vector<uint8_t> packet(2048);
    const ssize_t size = recv(packetSocket_, packet.data(), packet.size(), 0);
    if (size > static_cast<ssize_t>(kHeaderBytes)) {
        packet.resize(static_cast<size_t>(size));
        take(packet);
    }
}

void RtpReceiver::takeReports() {
    std::array<uint8_t, 2048> report{};
    socklen_t size = sizeof sender_;
    if (recvfrom(reportSocket_, report.data(), report.size(), 0, reinterpret_cast<sockaddr*>(&sender_), &size) > 0) {
        ++reports_;
    }
}

void RtpReceiver::take(const std::vector<uint8_t>& packet) {
    const auto number = static_cast<uint16_t>(numberAt(packet, 2, 2));
    const uint32_t time = numberAt(packet, 4, 4);
    if (lastNumber_ && number != static_cast<uint16_t>(*lastNumber_ + 1)) {
        ++gaps_;
    }
    lastNumber_ = number;
    ++packets_;
    payloadTypes_.insert(packet.at(1) & 127);
    sources_.insert(numberAt(packet, 8, 4));
    if (holdsParameterSet(packet) && (keyFrames_.empty() || keyFrames_.back() != time)) {
        keyFrames_.push_back(time);
    }
}

void RtpReceiver::askForKeyFrame() const {
    const uint32_t source = *sources_.begin();
    std::array<uint8_t, 12> request{0x81, 206, 0, 2, 0, 0, 0, 1};
    for (size_t i = 0; i < 4; ++i) {
        request.at(8 + i) = static_cast<uint8_t>(source >> (24 - 8 * i));
    }
    sendto(reportSocket_, request.data(), request.size(), 0, reinterpret_cast<const sockaddr*>(&sender_),
           sizeof sender_);
}

}  // namespace zelrtc::test
