/** @file rtp_address.h Where plain RTP goes, as a person types it and as sockets take it. */
#ifndef APPS_VIEWER_RTP_ADDRESS_H
#define APPS_VIEWER_RTP_ADDRESS_H

#include <string>
#include <vector>

namespace zelrtc::viewer {

/** RTP goes to `port` and RTCP to the next one, as RFC 3550 has it. */
struct RtpAddress {
    std::string host;  // a number, IPv4 or IPv6 without brackets
    int port = 0;
    bool isIpv6 = false;
};

/**
 * Reads "HOST:PORT" or "HOST:PORT,HOST:PORT", each host a name, an IPv4 address or an IPv6 address in brackets. Names
 * are looked up.
 * @throws std::invalid_argument with a reason if the text is neither or a host is not found
 */
std::vector<RtpAddress> parseRtpAddresses(const std::string& text);

}  // namespace zelrtc::viewer

#endif
