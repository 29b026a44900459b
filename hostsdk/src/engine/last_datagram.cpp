#include "engine/last_datagram.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/time.h>

// Of libnice's public interface, whose development package would bring a desktop's libraries along. The result is a
// GSocket.
extern "C" GObject* nice_agent_get_selected_socket(GObject* agent, guint stream, guint component);

namespace zelrtc::hostsdk {

std::optional<std::chrono::steady_clock::time_point> lastDatagram(GObject* agent, guint stream) {
    // Media and its control packets share the first component.
    GObject* const socket = nice_agent_get_selected_socket(agent, stream, 1);
    if (socket == nullptr) {
        return std::nullopt;
    }
    gint descriptor = -1;
    timeval stamp{};
    g_object_get(socket, "fd", &descriptor, nullptr);
    if (ioctl(descriptor, SIOCGSTAMP, &stamp) != 0) {
        return std::nullopt;
    }
    const auto stamped = std::chrono::seconds(stamp.tv_sec) + std::chrono::microseconds(stamp.tv_usec);
    const auto age = std::chrono::system_clock::now().time_since_epoch() - stamped;
    return std::chrono::steady_clock::now() - std::chrono::duration_cast<std::chrono::steady_clock::duration>(age);
}

}  // namespace zelrtc::hostsdk
