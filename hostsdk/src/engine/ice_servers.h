/** @file ice_servers.h The STUN and TURN servers of a connection. */
#ifndef HOSTSDK_SRC_ENGINE_ICE_SERVERS_H
#define HOSTSDK_SRC_ENGINE_ICE_SERVERS_H

#include <gst/gst.h>

#include <optional>
#include <string>
#include <vector>

#include "text/ice_server_url.h"

namespace zelrtc::hostsdk {

// An ICE server as configured; without a URL when the configured text is no address.
struct IceServer {
    std::string text;
    std::optional<IceServerUrl> url;
    std::string username;
    std::string credential;
    bool inUse = false;
};

// Gives webrtcbin those that are in use; the log names the others.
void addServers(GstElement* webrtcbin, const std::vector<IceServer>& servers);

}  // namespace zelrtc::hostsdk

#endif
