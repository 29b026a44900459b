#include "tun_device.h"

#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace zelrtc::link {

namespace {

constexpr size_t kMaxPacketBytes = 65536;

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

int openOrFail(const std::string& path, int flags) {
    const int descriptor = open(path.c_str(), flags | O_CLOEXEC);
    if (descriptor < 0) {
        fail(path);
    }
    return descriptor;
}

// A TUN interface appears in the namespace of the thread that opens the device.
class NamespaceVisit {
public:
    explicit NamespaceVisit(const std::string& name) : home_(openOrFail("/proc/self/ns/net", O_RDONLY)) {
        const int target = openOrFail("/run/netns/" + name, O_RDONLY);
        const int result = setns(target, CLONE_NEWNET);
        close(target);
        if (result != 0) {
            close(home_);
            fail("entering network namespace " + name);
        }
    }
    ~NamespaceVisit() {
        if (setns(home_, CLONE_NEWNET) != 0) {
            std::terminate();
        }
        close(home_);
    }
    NamespaceVisit(const NamespaceVisit&) = delete;
    NamespaceVisit& operator=(const NamespaceVisit&) = delete;

private:
    int home_;
};

}  // namespace

TunDevice::TunDevice(const std::string& networkNamespace, const std::string& interfaceName) {
    const NamespaceVisit visit(networkNamespace);
    descriptor_ = openOrFail("/dev/net/tun", O_RDWR | O_NONBLOCK);
    ifreq request{};
    request.ifr_flags = IFF_TUN | IFF_NO_PI;
    strncpy(request.ifr_name, interfaceName.c_str(), sizeof(request.ifr_name) - 1);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the system call is variadic
    if (ioctl(descriptor_, TUNSETIFF, &request) != 0) {
        close(descriptor_);
        fail("creating " + interfaceName);
    }
}

TunDevice::~TunDevice() {
    close(descriptor_);
}

std::optional<std::vector<uint8_t>> TunDevice::read() {
    std::vector<uint8_t> packet(kMaxPacketBytes);
    const ssize_t size = ::read(descriptor_, packet.data(), packet.size());
    if (size <= 0) {
        return std::nullopt;
    }
    packet.resize(static_cast<size_t>(size));
    return packet;
}

void TunDevice::write(const std::vector<uint8_t>& packet) {
    const ssize_t written = ::write(descriptor_, packet.data(), packet.size());
    (void) written;
}

}  // namespace zelrtc::link
