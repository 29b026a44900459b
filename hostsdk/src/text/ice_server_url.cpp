#include "text/ice_server_url.h"

#include <cctype>
#include <cstdio>

namespace zelrtc::hostsdk {

namespace {

constexpr int kDefaultPort = 3478;
constexpr int kDefaultTlsPort = 5349;
constexpr int kMaxPort = 65535;

bool isSecure(const IceServerUrl& url) {
    return url.scheme == "stuns" || url.scheme == "turns";
}

std::optional<int> parsePort(const std::string& text) {
    constexpr size_t kLongest = 5;
    if (text.empty() || text.size() > kLongest || text.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    const int port = std::stoi(text);
    if (port == 0 || port > kMaxPort) {
        return std::nullopt;
    }
    return port;
}

// Splits "host", "host:port" or "[address]:port".
bool parseHostAndPort(const std::string& text, IceServerUrl* url) {
    const size_t hostEnd = text.find('[') == 0 ? text.find(']') : 0;
    if (hostEnd == std::string::npos) {
        return false;
    }
    const size_t colon = text.find(':', hostEnd);
    url->host = text.substr(0, colon);
    url->port = isSecure(*url) ? kDefaultTlsPort : kDefaultPort;
    if (colon != std::string::npos) {
        const std::optional<int> port = parsePort(text.substr(colon + 1));
        if (!port) {
            return false;
        }
        url->port = *port;
    }
    return !url->host.empty() && url->host.find_first_of(" \t\r\n/@?#%\"'<>") == std::string::npos;
}

std::string percentEncode(const std::string& text) {
    std::string encoded;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (std::isalnum(byte) != 0 || character == '-' || character == '_' || character == '.') {
            encoded += character;
            continue;
        }
        char escaped[sizeof("%00")];
        snprintf(escaped, sizeof(escaped), "%%%02X", static_cast<unsigned int>(byte));
        encoded += escaped;
    }
    return encoded;
}

}  // namespace

bool IceServerUrl::isRelay() const {
    return scheme == "turn" || scheme == "turns";
}

std::optional<IceServerUrl> parseIceServerUrl(const std::string& text) {
    const size_t colon = text.find(':');
    if (colon == std::string::npos) {
        return std::nullopt;
    }
    IceServerUrl url;
    url.scheme = text.substr(0, colon);
    if (url.scheme != "stun" && url.scheme != "stuns" && !url.isRelay()) {
        return std::nullopt;
    }
    const size_t query = text.find('?', colon);
    url.transport = isSecure(url) ? "tcp" : "udp";
    if (query != std::string::npos) {
        if (text.substr(query) != "?transport=udp" && text.substr(query) != "?transport=tcp") {
            return std::nullopt;
        }
        url.transport = text.substr(query + sizeof("?transport=") - 1);
    }
    const size_t length = query == std::string::npos ? query : query - colon - 1;
    if (!parseHostAndPort(text.substr(colon + 1, length), &url)) {
        return std::nullopt;
    }
    return url;
}

std::string webrtcbinUri(const IceServerUrl& url, const std::string& username, const std::string& credential) {
    const std::string user = url.isRelay() ? percentEncode(username) + ":" + percentEncode(credential) + "@" : "";
    // Stated always, because otherwise webrtcbin tries both UDP and TCP at a TURN server.
    const std::string query = url.isRelay() ? "?transport=" + url.transport : "";
    return url.scheme + "://" + user + url.host + ":" + std::to_string(url.port) + query;
}

}  // namespace zelrtc::hostsdk
