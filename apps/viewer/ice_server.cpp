#include "ice_server.h"

#include <glib.h>

#include <stdexcept>

#include "gst/handles.h"

namespace zelrtc::viewer {
namespace {

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

std::string escaped(const std::string& text) {
    return gst::takeText(g_uri_escape_string(text.c_str(), nullptr, false));
}

}  // namespace

bool IceServer::isStun() const {
    return startsWith(url, "stun:");
}

std::string IceServer::gstreamerUri() const {
    const size_t colon = url.find(':');
    const std::string scheme = url.substr(0, colon);
    const std::string rest = url.substr(colon + 1);
    if (user.empty()) {
        return scheme + "://" + rest;
    }
    return scheme + "://" + escaped(user) + ":" + escaped(credential) + "@" + rest;
}

IceServer parseIceServer(const std::string& text) {
    const size_t first = text.find(',');
    IceServer server;
    server.url = text.substr(0, first);
    if (!startsWith(server.url, "stun:") && !startsWith(server.url, "turn:") && !startsWith(server.url, "turns:")) {
        throw std::invalid_argument("an ICE server starts with stun:, turn: or turns:, this one is " + text);
    }
    if (first == std::string::npos) {
        return server;
    }
    const size_t second = text.find(',', first + 1);
    if (second == std::string::npos) {
        throw std::invalid_argument("an ICE server with a user needs a credential as well: URL,USER,CREDENTIAL");
    }
    server.user = text.substr(first + 1, second - first - 1);
    server.credential = text.substr(second + 1);
    return server;
}

}  // namespace zelrtc::viewer
