#include "engine/ice_servers.h"

#include "gst/ice_agent.h"
#include "text/log.h"

namespace zelrtc::hostsdk {

void addServers(GstElement* webrtcbin, const std::vector<IceServer>& servers) {
    for (const IceServer& server : servers) {
        if (server.inUse) {
            gst::addIceServer(webrtcbin, webrtcbinUri(*server.url, server.username, server.credential));
        } else {
            logDetail("ICE server left out: " + server.text);
        }
    }
}

}  // namespace zelrtc::hostsdk
