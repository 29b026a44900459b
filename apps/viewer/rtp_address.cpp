#include "rtp_address.h"

#include <netdb.h>
#include <sys/socket.h>

#include <memory>
#include <regex>
#include <stdexcept>

namespace zelrtc::viewer {
namespace {

// The last port has no next one for RTCP.
constexpr int kHighestPort = 65534;

[[noreturn]] void refuse(const std::string& text, const std::string& reason) {
    throw std::invalid_argument("--pass-on wants HOST:PORT, or two of them with a comma between; " + text + " " +
                                reason);
}

void lookUp(const std::string& host, RtpAddress& address) {
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    const int failure = getaddrinfo(host.c_str(), nullptr, &wanted, &found);
    if (failure != 0) {
        throw std::invalid_argument("--pass-on: cannot find the host " + host + ": " + gai_strerror(failure));
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owned(found, &freeaddrinfo);
    char number[NI_MAXHOST];
    getnameinfo(found->ai_addr, found->ai_addrlen, number, sizeof number, nullptr, 0, NI_NUMERICHOST);
    address.host = number;
    address.isIpv6 = found->ai_family == AF_INET6;
}

RtpAddress parseOne(const std::string& text) {
    std::smatch parts;
    if (!std::regex_match(text, parts, std::regex(R"((?:\[([0-9a-fA-F:.]+)\]|([^:\[\]]+)):([0-9]{1,5}))"))) {
        refuse("\"" + text + "\"", "is none");
    }
    RtpAddress address;
    address.port = std::stoi(parts[3]);
    if (address.port < 1 || address.port > kHighestPort) {
        refuse("\"" + text + "\"", "needs a port from 1 to 65534: RTCP goes to the next one");
    }
    lookUp(parts[1].matched ? parts[1] : parts[2], address);
    return address;
}

}  // namespace

std::vector<RtpAddress> parseRtpAddresses(const std::string& text) {
    const size_t comma = text.find(',');
    std::vector<RtpAddress> addresses{parseOne(text.substr(0, comma))};
    if (comma != std::string::npos) {
        addresses.push_back(parseOne(text.substr(comma + 1)));
    }
    return addresses;
}

}  // namespace zelrtc::viewer
