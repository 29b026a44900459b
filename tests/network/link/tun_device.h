/** @file tun_device.h The ends of the link as network interfaces. */
#ifndef TESTS_NETWORK_LINK_TUN_DEVICE_H
#define TESTS_NETWORK_LINK_TUN_DEVICE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelrtc::link {

/** One end of the link: a network interface whose packets this process reads and writes. */
class TunDevice {
public:
    /**
     * Creates the interface in a named network namespace.
     * @throws std::system_error when the namespace or the device cannot be opened
     */
    TunDevice(const std::string& networkNamespace, const std::string& interfaceName);
    ~TunDevice();
    TunDevice(const TunDevice&) = delete;
    TunDevice& operator=(const TunDevice&) = delete;

    int descriptor() const {
        return descriptor_;
    }

    /** @return the next waiting packet, or nothing */
    std::optional<std::vector<uint8_t>> read();

    /** Passes a packet to the namespace; one that does not fit is lost, as on a real interface. */
    void write(const std::vector<uint8_t>& packet);

private:
    int descriptor_;
};

}  // namespace zelrtc::link

#endif
