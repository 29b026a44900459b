#include "turn_server.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

#include "own_address.h"
#include "waiting.h"

namespace zelrtc::test {
namespace {

constexpr const char* kUser = "viewer";
constexpr const char* kCredential = "open sesame";
constexpr std::chrono::seconds kListenLimit(10);

sockaddr_in ownPlace(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = inet_addr(ownAddress().c_str());
    return address;
}

int freePort() {
    const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = ownPlace(0);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    const bool bound = bind(probe, generic, size) == 0 && getsockname(probe, generic, &size) == 0;
    close(probe);
    if (!bound) {
        throw std::runtime_error("no free port");
    }
    return ntohs(address.sin_port);
}

bool accepts(int port) {
    const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = ownPlace(port);
    const bool connected = connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(probe);
    return connected;
}

std::vector<std::string> arguments(int port, const ScratchFolder& folder) {
    return {"-n",
            "--listening-ip=" + ownAddress(),
            "--relay-ip=" + ownAddress(),
            "--listening-port=" + std::to_string(port),
            "--lt-cred-mech",
            "--user=" + std::string(kUser) + ":" + kCredential,
            "--realm=calls.test",
            "--allow-loopback-peers",
            "--no-tls",
            "--no-dtls",
            "--no-cli",
            "--log-file=stdout",
            "--simple-log",
            "--userdb=" + folder.file("users.db"),
            "--pidfile=" + folder.file("turnserver.pid")};
}

}  // namespace

TurnServer::TurnServer()
    : port_(freePort()),
      process_("turnserver", arguments(port_, folder_), folder_.file("turn.out"), folder_.file("turn.err")) {
    if (!eventually([this] { return accepts(port_); }, kListenLimit)) {
        throw std::runtime_error("turnserver does not listen: " + readFile(folder_.file("turn.err")));
    }
}

std::string TurnServer::url(const std::string& transport) const {
    return "turn:" + ownAddress() + ":" + std::to_string(port_) + "?transport=" + transport;
}

std::string TurnServer::description(const std::string& transport) const {
    return url(transport) + "," + kUser + "," + kCredential;
}

std::string TurnServer::wrongDescription(const std::string& transport) const {
    return url(transport) + "," + kUser + ",wrong";
}

}  // namespace zelrtc::test
