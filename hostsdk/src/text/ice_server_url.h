/** @file ice_server_url.h Addresses of ICE servers (RFC 7064, RFC 7065). */
#ifndef HOSTSDK_SRC_TEXT_ICE_SERVER_URL_H
#define HOSTSDK_SRC_TEXT_ICE_SERVER_URL_H

#include <optional>
#include <string>

namespace zelrtc::hostsdk {

struct IceServerUrl {
    std::string scheme;  // stun, stuns, turn or turns
    std::string host;    // an IPv6 address keeps its brackets
    int port = 0;
    std::string transport;  // udp or tcp

    bool isRelay() const;
};

// Parses `turn:example.org:3478?transport=tcp` and the like; nothing if the text is not such an address.
std::optional<IceServerUrl> parseIceServerUrl(const std::string& text);

// webrtcbin's form: a URI that includes user and credential, percent-encoded.
std::string webrtcbinUri(const IceServerUrl& url, const std::string& username, const std::string& credential);

}  // namespace zelrtc::hostsdk

#endif
